#include "site/core/Node.h"

#include <utility>

#include "site/core/NodeBody.h"
#include "site/core/Rules.h"

namespace dorn::site {

Node::Node(const OriginId& origin, Transport& transport, SharedState& state, NodeListener& listener)
    : Node(origin, transport, state, listener, Rules()) {}

Node::Node(const OriginId& origin, Transport& transport, SharedState& state, NodeListener& listener,
           const Rules& rules)
    : mBody(std::make_unique<Body>(origin, transport, state, listener, rules)) {}

Node::~Node() = default;

void Node::Tick(Ms now) { mBody->Tick(now); }

std::optional<Ticket> Node::Submit(Change change) {
  change.token = 0;
  return mBody->HandIn(std::move(change));
}

std::optional<Ticket> Node::Propose(Change change) { return mBody->Propose(std::move(change)); }

std::optional<Ticket> Node::StartSession(SessionStart start) {
  if (start.data.size() > kMaxSessionData) return std::nullopt;
  return mBody->HandIn(std::move(start));
}

Sequence Node::FindSession(const Digest& sid) const { return mBody->GetState().FindSession(sid); }

const SessionStart* Node::Session(Sequence session) const {
  const State::KnownSession* known = mBody->GetState().Session(session);
  return known == nullptr ? nullptr : &known->start;
}

void Node::ExtendSession(Sequence session) { mBody->ExtendSession(session); }

void Node::Flush() { mBody->Flush(); }

bool Node::IsServing() const { return mBody->IsServing(); }

bool Node::IsKeeper() const { return mBody->IsKeeper(); }

std::size_t Node::Waiting() const { return mBody->Waiting(); }

const Node::Counters& Node::Count() const { return mBody->Count(); }

Sequence Node::Token() const { return mBody->GetState().Token(); }
std::optional<Ms> Node::SinceAnswer() const { return mBody->SinceAnswer(); }
Sequence Node::LastApplied() const { return mBody->LastApplied(); }

void Node::OnOpened(const std::optional<NewestManifest>& newest) { mBody->OnOpened(newest); }

void Node::OnOtherLog(const std::optional<NewestManifest>& newest) { mBody->OnOtherLog(newest); }

void Node::OnHole(Sequence next) { mBody->OnHole(next); }

void Node::OnEntry(Sequence sequence, std::string_view entry) { mBody->OnEntry(sequence, entry); }

void Node::OnCaughtUp() { mBody->OnCaughtUp(); }

void Node::OnAnswered() { mBody->OnAnswered(); }

void Node::OnStored(Sequence mark, bool isStored) { mBody->OnStored(mark, isStored); }

void Node::OnNoSnapshots() { mBody->OnNoSnapshots(); }

void Node::OnFetched(Sequence mark, std::optional<std::string> bytes) {
  mBody->OnFetched(mark, bytes);
}

}  // namespace dorn::site
