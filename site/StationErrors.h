// Which stations were shown an "Error" by the site. Internal: not installed.
#ifndef SITE_STATIONERRORS_H_
#define SITE_STATIONERRORS_H_

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace dorn::site {

// By connection, dialog and object.
class StationErrors {
 public:
  void Add(int connection, const std::string& dialog, const std::vector<std::string>& objects) {
    for (const std::string& object : objects) mShown[connection].emplace(dialog, object);
  }

  // Takes those of the objects that are noted, and no others.
  std::vector<std::string> Take(int connection, const std::string& dialog,
                                const std::vector<std::string>& objects) {
    std::vector<std::string> taken;
    const auto shown = mShown.find(connection);
    if (shown == mShown.end()) return taken;
    for (const std::string& object : objects) {
      if (shown->second.erase({dialog, object}) > 0) taken.push_back(object);
    }
    if (shown->second.empty()) mShown.erase(shown);
    return taken;
  }

  bool Has(int connection) const { return mShown.count(connection) != 0; }

  // All objects of the dialog.
  std::vector<std::string> Of(int connection, const std::string& dialog) const {
    std::vector<std::string> objects;
    const auto shown = mShown.find(connection);
    if (shown == mShown.end()) return objects;
    for (const auto& [where, object] : shown->second) {
      if (where == dialog) objects.push_back(object);
    }
    return objects;
  }

  // Forgets the connections that are gone.
  template <class IsThere>
  void Keep(IsThere&& isThere) {
    for (auto each = mShown.begin(); each != mShown.end();) {
      each = isThere(each->first) ? std::next(each) : mShown.erase(each);
    }
  }

 private:
  std::map<int, std::set<std::pair<std::string, std::string>>> mShown;
};

}  // namespace dorn::site

#endif  // SITE_STATIONERRORS_H_
