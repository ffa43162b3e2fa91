// What happens to changes, on their way to the log and back to the stations.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <utility>

#include "dorn/server/VQApplication.h"
#include "site/ChangeRound.h"
#include "site/Connections.h"
#include "site/Objects.h"
#include "site/SiteBody.h"
#include "site/StationTexts.h"
#include "site/core/TreeCodec.h"

namespace dorn::site {

namespace {

constexpr std::int64_t kUsPerSecond = 1'000'000;

std::int64_t NowUs() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * kUsPerSecond + now.tv_nsec / 1000;
}

// Every host's log and every reader of the log would know them.
void DropSecrets(VQJsonCommand& command) {
  for (const char* key : {"SessionId", "Pass"}) command.mList.erase(key);
}

// Applies a change, puts everything back as it was and applies it again: what does not depend on
// the tree, the saved members and the change alone shows. The second time counts.
bool ApplyTwice(SharedDialog& dialog, const SharedDialog::Change& change,
                const std::string& command) {
  const std::string before = SharedTrees::SaveOne(dialog);
  SharedDialog::Change first = change;
  const std::unique_ptr<VQJsonCommand> copy = DecodeCommand(command);
  first.command = copy.get();
  dialog.OnApply(first);
  const std::string once = SharedTrees::SaveOne(dialog);
  const bool isBack =
      SharedTrees::LoadOne(before, dialog) && SharedTrees::SaveOne(dialog) == before;
  dialog.OnApply(change);
  return isBack && SharedTrees::SaveOne(dialog) == once;
}

}  // namespace

void SiteBody::Submit(SharedDialog& dialog, VQClientSocket& client, VQJsonCommand& command) {
  OwnChange own;
  own.connection = client.GetId();
  own.session = client.GetSessionId();
  own.dialog = dialog.mDialogName;
  const std::vector<std::string> names = NamesIn(command);
  own.objects = KnownNames(*dialog.GetResourceShare(), names);
  own.namesOthers = own.objects.size() < std::set<std::string>(names.begin(), names.end()).size();
  DropSecrets(command);
  site::Change change;
  change.dialog = own.dialog;
  change.session = mSessions.Of(own.session);
  change.timeUs = NowUs();
  change.command = EncodeCommand(command);
  const bool isShared = Find(own.dialog) == &dialog;
  const std::optional<Ticket> ticket =
      isShared ? mNode->Submit(std::move(change)) : std::optional<Ticket>();
  if (!ticket.has_value()) {
    Refuse(own);
    return;
  }
  mOwn.Add(*ticket, std::move(own));
  AskForWork();
}

bool SiteBody::Propose(SharedDialog& dialog, const VQJsonCommand& command) {
  if (Find(dialog.mDialogName) != &dialog) return false;
  site::Change change;
  change.dialog = dialog.mDialogName;
  change.timeUs = NowUs();
  change.command = EncodeCommand(command);
  const bool isTaken = mNode->Propose(std::move(change)).has_value();
  if (isTaken) AskForWork();
  return isTaken;
}

void SiteBody::Apply(Sequence /*sequence*/, const site::Change& change,
                     std::optional<Ticket> mine) {
  SharedDialog* dialog = Find(change.dialog);
  // Putting the tree back forgets what was not sent. First, while the change is among those of
  // which the station may show no longer what it has sent.
  if (mOptions.appliesTwice && dialog != nullptr) SendChanges(*dialog);
  std::optional<OwnChange> own = mine.has_value() ? mOwn.Take(*mine) : std::nullopt;
  if (dialog == nullptr) return Miss(change.dialog);
  std::unique_ptr<VQJsonCommand> command = DecodeCommand(change.command);
  if (command == nullptr) {
    return TellInapplicable(change.dialog, "cannot be read: start all hosts with the same version");
  }
  SharedDialog::Change told;
  told.command = command.get();
  told.time.tv_sec = change.timeUs / kUsPerSecond;
  told.time.tv_usec = change.timeUs % kUsPerSecond;
  told.session = change.session;
  if (const SessionStart* start = mNode->Session(change.session)) told.sessionData = start->data;
  told.isFromKeeper = change.token != 0;
  const bool isShown = own.has_value() && own->isShown && StationOf(*own) != nullptr;
  if (isShown) told.mark = MarkOf(own->connection);
  if (mOptions.appliesTwice) {
    if (!ApplyTwice(*dialog, told, change.command)) {
      ++mUnequal;
      OnWord("dialog \"" + change.dialog +
             "\" does not do the same twice: OnApply() uses more than the tree, what OnSave() "
             "saves and OnLoad() loads, and the change");
    }
  } else {
    dialog->OnApply(told);
  }
  NameChangedObjects(*dialog->GetResourceShare());
  mChanged.insert(change.dialog);
  // Only one deletion is recorded.
  if (HasDeletion(*dialog->GetResourceShare())) SendChanges(*dialog);
  if (own.has_value()) mApplied.push_back({std::move(*own), std::move(command), std::move(told)});
}

// What this host would store from now on is not what the site knows.
void SiteBody::Miss(const std::string& dialog) {
  if (mTrees.IsFormer(dialog)) return;
  mHasMissed = true;
  TellInapplicable(
      dialog,
      "cannot be applied here, where there is no such dialog: start all hosts with the "
      "same dialogs; until then this one does not keep the site");
}

// Once for each name, and not for ever more names: each change would be a line.
void SiteBody::TellInapplicable(const std::string& dialog, const char* why) {
  constexpr std::size_t kNames = 100;
  if (mInapplicable.size() >= kNames || !mInapplicable.insert(dialog).second) return;
  OnWord("a change of dialog \"" + dialog + "\" " + why);
}

void SiteBody::SendAll() {
  const std::set<std::string> changed = std::exchange(mChanged, {});
  for (const std::string& name : changed) {
    if (SharedDialog* dialog = Find(name)) SendChanges(*dialog);
  }
}

void SiteBody::SendChanges(SharedDialog& dialog) {
  const std::string name = dialog.mDialogName;
  mChanged.erase(name);
  ChangeRound round(*dialog.GetResourceShare());
  ForEachConnection(mApp, [&](VQClientSocket& client) {
    if (client.mDialogName != dialog.mDialogName) return;
    const int id = client.GetId();
    const KZString* text = round.TextFor(id);
    if (text == nullptr) return;
    client.SendData(*text);
    mOwn.Sent(id, name, [&](const std::string& object) { return round.Tells(id, object); });
  });
}

void SiteBody::TellOrigins() {
  while (!mApplied.empty()) {
    std::vector<Applied> applied = std::exchange(mApplied, {});
    for (Applied& each : applied) TellOrigin(each);
  }
}

void SiteBody::TellOrigin(Applied& applied) {
  TakeBackErrors(applied.own);
  VQClientSocket* client = StationOf(applied.own);
  SharedDialog* dialog = Find(applied.own.dialog);
  if (client != nullptr && dialog != nullptr) dialog->OnApplied(client, applied.told);
}

// The connection that the change came from, if it is still the same station's.
VQClientSocket* SiteBody::StationOf(const OwnChange& own) {
  VQClientSocket* client = FindConnection(mApp, own.connection);
  return client != nullptr && client->GetSessionId() == own.session ? client : nullptr;
}

void SiteBody::OnUnknown(Ticket ticket) {
  OwnChange* own = mOwn.Find(ticket);
  if (own == nullptr) return;
  own->isUnknown = true;
  TellTreesWord(OwnChange(*own), "pending");
}

void SiteBody::OnRefused(Ticket ticket) {
  if (mSessions.Refused(ticket)) return;
  if (const std::optional<OwnChange> own = mOwn.Take(ticket)) Refuse(*own);
}

// The station was sent the whole tree when it was loaded.
void SiteBody::OnPassed(Ticket ticket) {
  if (mSessions.Passed(ticket)) return;
  if (const std::optional<OwnChange> own = mOwn.Take(ticket)) TakeBackErrors(*own);
}

void SiteBody::Refuse(const OwnChange& own) { TellTreesWord(own, "refused"); }

void SiteBody::TellTreesWord(const OwnChange& own, const char* error) {
  VQClientSocket* client = StationOf(own);
  SharedDialog* dialog = Find(own.dialog);
  if (client == nullptr || dialog == nullptr) return;
  mErrors.Add(own.connection, own.dialog, KnownNames(*dialog->GetResourceShare(), own.objects));
  if (client->mDialogName != dialog->mDialogName) return;
  SendChanges(*dialog);  // The station must not get what is older behind it.
  const KZString text = TreesWord(*dialog->GetResourceShare(), own.objects, error);
  if (text.empty()) return;
  client->SendData(text);
  const std::set<std::string> told(own.objects.begin(), own.objects.end());
  mOwn.Sent(own.connection, own.dialog,
            [&told](const std::string& object) { return told.count(object) != 0; });
}

// An object with another change that nobody knows about keeps its word.
void SiteBody::TakeBackErrors(const OwnChange& own) {
  if (!mErrors.Has(own.connection)) return;
  std::vector<std::string> objects;
  for (const std::string& object : own.objects) {
    if (!mOwn.HasUnknown(own.connection, own.dialog, object)) objects.push_back(object);
  }
  objects = mErrors.Take(own.connection, own.dialog, objects);
  VQClientSocket* client = StationOf(own);
  SharedDialog* dialog = Find(own.dialog);
  if (client == nullptr || dialog == nullptr || client->mDialogName != dialog->mDialogName) return;
  const KZString text = ErrorTakenBack(*dialog->GetResourceShare(), objects);
  if (!text.empty()) client->SendData(text);
}

// To one station or all, of one dialog or all.
void SiteBody::TellState(const SharedDialog* only, VQClientSocket* client) {
  const KZString text = StateOf(mOptions.statusObject, mIsLogAway ? "BAD" : "NORMAL");
  const auto tell = [&](VQClientSocket& station) {
    SharedDialog* dialog = Find(station.mDialogName);
    if (dialog == nullptr || (only != nullptr && dialog != only)) return;
    if (dialog->GetResourceShare()->SearchName(mOptions.statusObject) == nullptr) return;
    station.SendData(text);
  };
  if (client != nullptr) {
    tell(*client);
  } else {
    ForEachConnection(mApp, tell);
  }
}

void SiteBody::BeforeSnapshot(SharedDialog& dialog) { SendChanges(dialog); }

void SiteBody::AfterSnapshot(SharedDialog& dialog, VQClientSocket& client) {
  const std::string name = dialog.mDialogName;
  const int id = client.GetId();
  mOwn.Sent(id, name, [](const std::string&) { return true; });
  if (client.mDialogName != dialog.mDialogName) return;
  const std::vector<std::string> errors = mErrors.Of(id, name);
  std::vector<std::string> pending;
  std::vector<std::string> past;
  for (const std::string& object : errors) {
    (mOwn.HasUnknown(id, name, object) ? pending : past).push_back(object);
  }
  static_cast<void>(mErrors.Take(id, name, past));
  VQJsonResource& tree = *dialog.GetResourceShare();
  for (const KZString& text : {ErrorTakenBack(tree, past), TreesWord(tree, pending, "pending")}) {
    if (!text.empty()) client.SendData(text);
  }
  if (mIsLogAway) TellState(&dialog, &client);
}

// A tree that was loaded. An update cannot say that objects have come or gone.
void SiteBody::ShowWholeTree(SharedDialog& dialog, bool isSameShape) {
  std::vector<int> stations;
  ForEachConnection(mApp, [&](VQClientSocket& client) {
    if (client.mDialogName == dialog.mDialogName) stations.push_back(client.GetId());
  });
  for (const int station : stations) {
    VQClientSocket* client = FindConnection(mApp, station);
    if (client == nullptr) continue;
    if (isSameShape) {
      dialog.SendSnapshot(client);
    } else {
      client->Close();
    }
  }
}

}  // namespace dorn::site
