// A host for the races of stations: the library's own trees, parser and updates, and around them as
// little of a server as stations can see. Lines are queues of bytes, which the test delays and
// cuts.
#ifndef TESTS_STATION_SIMULATEDHOST_H_
#define TESTS_STATION_SIMULATEDHOST_H_

#include <memory>
#include <string>
#include <vector>

#include "dorn/model/VQJsonCommand.h"
#include "dorn/model/VQJsonParser.h"
#include "dorn/model/VQJsonResource.h"

class SimulatedHost {
 public:
  // `resource` is the file of the dialog "d". Sessions 0 to `sessions` - 1 are known.
  SimulatedHost(const std::string& resource, int sessions);

  // A new line of a session takes the place of its old one; negative closes it.
  void Connect(int session);
  void Disconnect(int session);

  // Bytes from a station; what is answered is appended to ToStation().
  void Receive(int session, const std::string& bytes);
  std::string& ToStation(int session) { return mLines[static_cast<size_t>(session)].mOut; }

  // What a host program does. Flush() sends what has changed.
  void Set(const std::string& name, const std::string& key, const std::string& text);
  void Add(const std::string& group, const std::string& name, const std::string& type);
  // A group with a child that is not marked as new, which no ADD will tell.
  void AddFilledGroup(const std::string& group, const std::string& name, const std::string& child);
  void Delete(const std::string& name);
  void Empty(const std::string& group);
  void SetRows(const std::string& name, const std::vector<std::string>& cells);
  void Flush(bool all = false);

  bool Has(const std::string& name) { return mTree.SearchName(name) != nullptr; }
  std::string Tree() { return mTree.GetJson(); }

 private:
  struct Line {
    bool mIsOpen = false;
    bool mShows = false;  // The dialog.
    std::string mIn;
    std::string mOut;
  };

  void Execute(Line& line, const std::string& session, VQJsonCommand& command);
  void Say(Line& line, const std::string& text) { line.mOut += '\x02' + text + '\x03'; }
  void Answer(Line& line, const std::string& file);
  void Apply(VQJsonCommand& command, const std::string& session);

  VQJsonParser mParser;
  VQJsonResource mTree;
  std::vector<Line> mLines;
};

#endif  // TESTS_STATION_SIMULATEDHOST_H_
