// Composes the update texts of one tree for many recipients.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_UPDATECOMPOSER_H_
#define DORN_MODEL_UPDATECOMPOSER_H_

#include <map>
#include <memory>
#include <string>

#include "dorn/base/KZString.h"
#include "dorn/model/TreeSurvey.h"
#include "dorn/model/VQJsonObject.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn {

// Who gets the DELETE and ADD commands of a tree.
enum class SideCommands {
  kFirst,     // The first recipient alone, as with one MakeUpdateCommand() after the other.
  kEveryone,  // Every recipient.
};

// Gives for each session the text that VQJsonParser::MakeUpdateCommand() would give, called for the
// same sessions in the same order, and leaves the tree behind as those calls would: the first call
// clears the add and delete records, and attributes "Name" are inserted where they are looked up.
// The tree is walked once; sessions that no change is tagged with share one text.
//
// Make one composer for each round of sending. Change records and lists are public: nothing tells
// that one of them was written. So call HostCodeRan() whenever host code may have run between two
// calls; the tree is then walked and composed anew. A tree with an object of a host's own class
// gets a literal call for every recipient, since that class may override a writer.
class UpdateComposer {
 public:
  using Text = std::shared_ptr<const KZString>;

  // `tree` must outlive the composer. `allflag` as for MakeUpdateCommand().
  UpdateComposer(VQJsonResource* tree, bool allflag, SideCommands sideCommands);

  // The text for a recipient, or null if there is nothing to send to it. The same pointer means the
  // same text. Valid until the next call; a copy longer.
  const Text& Compose(const KZString& sessionid);

  // What was composed so far may not be what the tree says now.
  void HostCodeRan();

  // Calls ResetDirty() of the tree, once at the end of the round. Without another walk if there was
  // one already and no host code has run since.
  void ResetDirty();

 private:
  // An UPDATE command, alone and with the side commands; null until it is needed.
  struct Update {
    Text alone;
    Text joined;
    bool hasObjects = false;
  };

  void Survey();
  void SurveyTags(const VQJsonObject& object);
  void ComposeSide();
  Update& SlotOf(const KZString& sessionid);
  Update ComposeFromEntries(const KZString& sessionid);
  Update ComposeByWalking(const KZString& sessionid);
  const Text& Deliver(Update& update);

  VQJsonResource* mTree;
  bool mAllflag;
  SideCommands mSideCommands;

  // The tree as it was when it was last walked.
  bool mSurveyed = false;
  TreeSurvey mSurvey;
  bool mOwnClasses = false;  // No object of a host's class; otherwise the survey is of no use.

  std::map<KZString, Update> mBySession;  // For the sessions in tags, and for the empty one.
  Update mShared;                         // For all other sessions.
  Text mSingle;                           // What one recipient alone gets; null: nothing.
  std::string mSide;                      // The DELETE and ADD commands still to be delivered.
  int mSideCount = 0;
};

}  // namespace dorn

#endif  // DORN_MODEL_UPDATECOMPOSER_H_
