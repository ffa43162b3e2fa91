// What has changed in a tree since the last round of sending, as texts for stations.
// Internal: not installed.
#ifndef SITE_CHANGEROUND_H_
#define SITE_CHANGEROUND_H_

#include <map>
#include <set>
#include <string>

#include "dorn/base/KZString.h"
#include "dorn/model/VQJsonResource.h"

namespace dorn::site {

// The mark by which the connection of that number knows its own changes again.
KZString MarkOf(int connection);

// Whether a child was deleted and nobody has been told yet: only one such record fits.
bool HasDeletion(VQJsonObject& tree);

// One round: made when there is something to send, used for each connection, and the changes are
// forgotten with it. The tree must not change meanwhile.
class ChangeRound {
 public:
  // The records of added and deleted objects are taken from the tree at once.
  explicit ChangeRound(VQJsonResource& tree);
  ~ChangeRound();

  ChangeRound(const ChangeRound&) = delete;
  ChangeRound& operator=(const ChangeRound&) = delete;

  // What the connection has to hear; null: nothing. Valid as long as the round.
  const KZString* TextFor(int connection);

  // Whether that text holds the object. Where objects were added or deleted, any.
  bool Tells(int connection, const std::string& object) const;

 private:
  struct Text {
    KZString text;
    bool isEmpty = true;
  };

  void Survey(VQJsonObject& object);
  Text Compose(const KZString& mark) const;

  VQJsonResource& mTree;
  std::string mSide;  // The commands for added and deleted objects.
  // The changed objects by name; with the mark of the only connection that is not told, or empty.
  std::map<std::string, KZString> mSparedBy;
  std::set<KZString> mMarks;        // Of connections that some text leaves something out for.
  std::map<KZString, Text> mTexts;  // For the marks above, and for all other connections.
};

}  // namespace dorn::site

#endif  // SITE_CHANGEROUND_H_
