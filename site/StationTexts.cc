#include "site/StationTexts.h"

#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "dorn/model/VQJsonRadioButton.h"
#include "site/Objects.h"

namespace dorn::site {

namespace {

constexpr char kError[] = "Error";

// An UPDATE command that grows entry by entry.
class UpdateText {
 public:
  // Every attribute of the object.
  void AddWhole(VQJsonObject& object) {
    Begin();
    int members = 0;
    object.OutJsonMember(mEntries, members);
    mEntries << '}';
  }

  void AddOne(const std::string& name, const char* key, const KZString& text) {
    Begin();
    mEntries << "\"Name\":\"" << name << "\",\"" << key << "\":\"" << text << "\"}";
  }

  KZString Text() const {
    if (mCount == 0) return {};
    return KZString("{ \"Command\":\"UPDATE\", \"Objects\":[" + mEntries.str() + "]}\n");
  }

 private:
  void Begin() { mEntries << (mCount++ > 0 ? ",{" : "{"); }

  std::ostringstream mEntries;
  int mCount = 0;
};

// Has the object say that "Error" while it is written.
class WithError {
 public:
  WithError(VQJsonObject& object, const char* error) : mList(object.mList) {
    const auto found = mList.find(kError);
    if (found != mList.end()) mKept = found->second;
    mList[kError] = VQValue(error);
  }
  ~WithError() {
    if (mKept.has_value()) {
      mList[kError] = std::move(*mKept);
    } else {
      mList.erase(kError);
    }
  }

  WithError(const WithError&) = delete;
  WithError& operator=(const WithError&) = delete;

 private:
  std::map<KZString, VQValue>& mList;
  std::optional<VQValue> mKept;
};

// What an update has said, or is going to say.
struct Told {
  std::set<const VQJsonObject*> objects;
  std::set<const VQJsonRadioButtonGroup*> groups;  // With all of their buttons.
};

// The station has switched them off by itself.
void AddOtherButtons(UpdateText& update, VQJsonObject& button, Told& told) {
  auto* group = dynamic_cast<VQJsonRadioButtonGroup*>(button.GetParent());
  if (group == nullptr || dynamic_cast<VQJsonRadioButtonObject*>(&button) == nullptr) return;
  if (!told.groups.insert(group).second) return;
  for (VQJsonObject* other : group->mObjectList) {
    if (other == nullptr || other->mName.empty()) continue;
    if (told.objects.insert(other).second) update.AddWhole(*other);
  }
}

}  // namespace

KZString TreesWord(VQJsonResource& tree, const std::vector<std::string>& objects,
                   const char* error) {
  UpdateText update;
  const std::vector<VQJsonObject*> found = FindObjects(tree, objects);
  Told told{{found.begin(), found.end()}, {}};
  for (VQJsonObject* object : found) {
    AddOtherButtons(update, *object, told);
    const WithError with(*object, error);
    update.AddWhole(*object);
  }
  return update.Text();
}

KZString ErrorTakenBack(VQJsonResource& tree, const std::vector<std::string>& objects) {
  UpdateText update;
  for (VQJsonObject* object : FindObjects(tree, objects)) {
    const KZString error = object->HasKey(kError) ? object->GetValue(kError).GetString() : "";
    update.AddOne(object->mName, kError, error);
  }
  return update.Text();
}

KZString StateOf(const KZString& object, const char* state) {
  UpdateText update;
  update.AddOne(object, "State", state);
  return update.Text();
}

}  // namespace dorn::site
