// What the tests of a node share: one host, and a log that the test writes.
#ifndef TESTS_SITE_NODETEST_H_
#define TESTS_SITE_NODETEST_H_

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "CoreTest.h"
#include "site/core/Node.h"
#include "site/core/Rules.h"
#include "site/core/Sha256.h"
#include "site/core/Snapshots.h"
#include "site/core/State.h"

namespace dorn::site {

// Dialogs that are no more than the list of their changes.
class ListState final : public SharedState {
 public:
  void Apply(Sequence /*sequence*/, const Change& change, std::optional<Ticket> mine) override {
    text += change.command + ";";
    if (mine) own.push_back(*mine);
  }
  std::string Save() override { return text; }
  bool Load(std::string_view bytes) override {
    text = bytes;
    return true;
  }
  bool IsLoadable(std::string_view /*bytes*/) override { return isLoadable; }
  bool IsWhole() const override { return whole; }
  Digest Resources() override { return resources; }

  bool whole = true;
  bool isLoadable = true;
  std::string text;
  std::vector<Ticket> own;
  Digest resources{};
};

// Writes down what it hears.
class Listener final : public NodeListener {
 public:
  void OnServing(bool isServing) override { Say(isServing ? "serving" : "not serving"); }
  void OnLogAway(bool isAway) override { Say(isAway ? "away" : "back"); }
  void OnUnknown(Ticket ticket) override { Say("unknown " + std::to_string(ticket)); }
  void OnRefused(Ticket ticket) override { Say("refused " + std::to_string(ticket)); }
  void OnPassed(Ticket ticket) override { Say("passed " + std::to_string(ticket)); }
  void OnSessionStart(Sequence session, const SessionStart& start,
                      std::optional<Ticket> mine) override {
    Say("session " + std::to_string(session) + " " + start.data + (mine ? " mine" : ""));
  }
  void OnSessionEnd(Sequence session) override { Say("end " + std::to_string(session)); }
  void OnKeep() override { ++kept; }
  void OnDiverged(Sequence mark, bool mustStop) override {
    Say("diverged " + std::to_string(mark) + (mustStop ? " stop" : ""));
  }
  void OnWord(const std::string& line) override { Say("word: " + line); }

  bool Heard(const std::string& what) {
    for (const std::string& word : words) {
      if (word.rfind(what, 0) == 0) return true;
    }
    return false;
  }

  std::vector<std::string> words;
  int kept = 0;

 private:
  void Say(const std::string& word) { words.push_back(word); }
};

// What the brokers have, and the rest of the site behind it.
struct Brokers {
  std::vector<Entry> log;
  State site{Rules()};
  std::string text;
  std::string snapshot;  // Behind the last mark.
  Sequence mark = 0;
  std::uint64_t foreign = 0;  // The last batch of host 2.
};

// Host 1, and a log that the test writes. The rest of the site has read it all.
class NodeTest : public testing::Test {
 protected:
  NodeTest() { mNode.Tick(mNow); }

  void Pass(Ms time, bool answers = true) {
    for (const Ms end = mNow + time; mNow < end;) {
      mNow += Ms(100);
      if (answers) mNode.OnAnswered();
      mNode.Tick(mNow);
    }
  }

  // Writes an entry into the log and lets the node read it.
  Sequence Deliver(const Entry& entry) {
    Write(entry);
    mNode.OnEntry(mBrokers.log.size(), Encode(entry));
    return mBrokers.log.size();
  }
  // Without the node.
  Sequence Write(const Entry& entry) {
    mBrokers.log.push_back(entry);
    const Verdict verdict = mBrokers.site.Apply(mBrokers.log.size(), entry);
    if (const auto* batch = std::get_if<Batch>(&entry)) {
      for (std::size_t i = verdict.firstNew; i < verdict.applied.size(); ++i) {
        const auto* change = std::get_if<Change>(&batch->items[i]);
        if (change != nullptr && verdict.applied[i]) mBrokers.text += change->command + ";";
      }
    }
    if (std::holds_alternative<Mark>(entry)) {
      mBrokers.snapshot = WriteSnapshot(mBrokers.site, mBrokers.text);
      mBrokers.mark = mBrokers.log.size();
    }
    return mBrokers.log.size();
  }
  // Everything that the node has published comes back.
  void Return() {
    for (const Entry& entry : mTransport.TakePublished()) Deliver(entry);
  }
  // The log once more, from behind `last` on.
  void ReadAgain(Sequence last) {
    while (last < mBrokers.log.size()) {
      const Entry& entry = mBrokers.log[last];
      mNode.OnEntry(++last, Encode(entry));
    }
    mNode.OnCaughtUp();
  }

  // A change of host 2.
  Sequence Foreign(const std::string& command, Sequence token = 0) {
    return Deliver(ForeignBatch(command, token));
  }
  Batch ForeignBatch(const std::string& command, Sequence token = 0) {
    return Batch{Origin(2), 0, ++mBrokers.foreign, {ChangeOf(command, token)}};
  }
  Manifest ManifestNow() const {
    return {mBrokers.site.Token(),
            mBrokers.mark,
            Sha256(mBrokers.snapshot),
            mBrokers.snapshot.size(),
            1,
            {}};
  }
  TransportListener::NewestManifest Newest(const Manifest& manifest) {
    return {Write(manifest), Encode(manifest)};
  }

  // The node becomes the first keeper of a new site.
  void BeginAsKeeper() {
    mNode.OnOpened(std::nullopt);
    mNode.OnCaughtUp();
    Pass(Ms(100));
    Return();  // Its take,
    Pass(Ms(100));
    Return();  // its first renewal and mark,
    ASSERT_EQ(mTransport.stored.size(), 1U);
    mNode.OnStored(mTransport.stored[0].first, true);
    Pass(Ms(100));
    Return();  // and its manifest.
    ASSERT_TRUE(mNode.IsServing());
  }

  // Host 2 keeps the site; the node begins with its snapshot.
  void BeginAsOther() {
    Write(Take{Origin(2), 0});
    mBrokers.text = "begin;";
    Write(Mark{mBrokers.site.Token(), 1});
    mNode.OnOpened(Newest(ManifestNow()));
    ASSERT_EQ(mTransport.fetched, std::vector<Sequence>{mBrokers.mark});
    mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
    ASSERT_EQ(mTransport.reads, std::vector<Sequence>{mBrokers.mark});
    ReadAgain(mBrokers.mark);
    Pass(Ms(100));
    ASSERT_TRUE(mNode.IsServing());
  }

  // The keeper's mark of this number is of another state than the node's, which begins with it
  // anew.
  void DifferAt(std::uint64_t mark) {
    mState.text += "ray;";
    Deliver(Mark{mBrokers.site.Token(), mark});
    Deliver(ManifestNow());
    mNode.OnFetched(mBrokers.mark, mBrokers.snapshot);
    ReadAgain(mBrokers.mark);
  }

  RecordingTransport mTransport;
  ListState mState;
  Listener mListener;
  Node mNode{Origin(1), mTransport, mState, mListener};
  Ms mNow{1'000'000};
  Brokers mBrokers;
};

}  // namespace dorn::site

#endif  // TESTS_SITE_NODETEST_H_
