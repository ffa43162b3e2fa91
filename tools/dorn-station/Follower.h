// The dialog that a person at the prompt is in, kept by reading what goes over the line.
//
// Whoever shows a dialog by hand sends CHANGE alone. To know its objects the follower has it
// entered with a fence and its file, as stations do; what it asks for itself is told by IsOwn().
#ifndef TOOLS_DORN_STATION_FOLLOWER_H_
#define TOOLS_DORN_STATION_FOLLOWER_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "station/Commands.h"
#include "station/Replica.h"

// Attributes by key and by the name of their object, as texts.
using Attributes = std::map<std::string, std::string>;
using Snapshot = std::map<std::string, Attributes>;

class Follower {
 public:
  // One command that was sent or received.
  void Sent(const dorn::station::Json& command);
  void Received(const dorn::station::Json& command);
  void FilePiece(std::string_view piece);
  void FileEnd(bool isWhole);

  // A fence, or the file of the dialog that is being entered.
  bool IsOwn(const dorn::station::Json& command) const;

  // What is to be sent so that the dialog is known; nothing while it is, or not again so soon.
  std::optional<std::string> TakeEntry(std::int64_t nowMs);
  // What it wished for has been sent.
  void Entered() { mWanted.clear(); }
  // Enters this dialog at once.
  std::string Enter(const std::string& dialog, std::int64_t nowMs);
  // A CONDITION with these objects, between the fences that tell when the host has them.
  std::string Act(const std::string& condition,
                  const std::vector<dorn::station::SetObject>& objects);

  // The host has not yet told what there is.
  bool IsEntering() const {
    const auto state = mReplica.GetState();
    return state == dorn::station::Replica::State::kFence ||
           state == dorn::station::Replica::State::kBuffer;
  }
  bool IsShowing() const { return mReplica.GetState() == dorn::station::Replica::State::kLive; }
  const dorn::station::Replica& Dialog() const { return mReplica; }
  // That have been named so far.
  const std::set<std::string>& Dialogs() const { return mDialogs; }
  Snapshot Objects() const;
  Attributes AttributesOf(const dorn::station::Object& object) const;
  // Of the first one of this name; nothing when there is no such object.
  std::optional<Attributes> AttributesOf(const std::string& name) const;

 private:
  void Know(const std::string& dialog);
  void Want(const std::string& dialog);
  void OnOpen(const dorn::station::Json& command);
  void OnPutfile(const dorn::station::Json& command);

  dorn::station::Replica mReplica;
  unsigned long mFences = 0;
  bool mHasChosen = false;  // A dialog was entered before the host opened one: it stays.
  std::string mWanted;      // The dialog to enter; empty: none.
  std::string mFile;        // Of the dialog that is being entered; empty: it is there.
  bool mIsComing = false;   // Its bytes are on their way.
  bool mIsLive = false;
  std::string mBytes;
  std::int64_t mEnteredAt = 0;
  std::set<std::string> mDialogs;
};

#endif  // TOOLS_DORN_STATION_FOLLOWER_H_
