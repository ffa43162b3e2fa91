// The cursor over a document, driven by the bytes behind the document's text, against plain
// look-ups in the document.
#include <string>

#include "dorn/json/JsonParser.h"
#include "dorn/json/VQValue.h"
#include "fuzz/FuzzTarget.h"

namespace {

class Driver {
 public:
  explicit Driver(FuzzInput& in) : mIn(in) {}

  void Run() {
    TryWithoutDocument();
    while (!mIn.IsEmpty() && Step()) {
    }
  }

 private:
  // With no document every keyed access is allowed and finds nothing.
  void TryWithoutDocument() {
    KZString text("before");
    int number = 7;
    FUZZ_CHECK(!mParser.IsObject() && !mParser.IsArray("a") && !mParser.IsString("a"));
    FUZZ_CHECK(!mParser.GetString("a", text) && text == "before");
    FUZZ_CHECK(!mParser.GetInteger("a", number) && number == 7);
    FUZZ_CHECK(!mParser.GetObject("a") && mParser.GetArray("a").empty());
    const std::string document = mIn.Until('\0');
    const bool parsed = mParser.Parse(document.c_str());
    FUZZ_CHECK(parsed == (mParser.mValueCurrent != nullptr));
  }

  std::string Key() {
    static const char* const kKeys[] = {"a", "b", "c", "Objects", "Name", "Value", "", "Commands"};
    const unsigned choice = mIn.Byte();
    return choice < 8 ? kKeys[choice] : mIn.Take(choice % 16);
  }

  const value* Member(const std::string& key) const {
    const auto& members = mParser.mValueCurrent->get<value::object>();
    // The interface takes keys that end with the first zero byte.
    const auto found = members.find(key.c_str());
    return found != members.end() ? &found->second : nullptr;
  }

  // False when nothing more can be done.
  bool Step() {
    if (mIn.Below(16) == 15) {
      ParseAnother();
      return true;
    }
    if (!mParser.IsObject()) return false;
    switch (mIn.Below(6)) {
      case 0:
        Scalars(Key());
        return true;
      case 1:
        Enter(Key());
        return true;
      case 2:
        Walk(Key());
        return true;
      case 3:
        Keys();
        return true;
      case 4:
        Convert(Key());
        return true;
      default:
        mParser.mValueCurrent = &mParser.mValue;
        return true;
    }
  }

  // A failure leaves document and cursor alone.
  void ParseAnother() {
    const value* before = mParser.mValueCurrent;
    if (!mParser.Parse(mIn.Text().c_str())) FUZZ_CHECK(mParser.mValueCurrent == before);
  }

  void Scalars(const std::string& key) {
    const value* member = Member(key);
    const bool isText = member != nullptr && member->is<std::string>();
    KZString text("before");
    FUZZ_CHECK(mParser.IsString(key.c_str()) == isText);
    FUZZ_CHECK(mParser.GetString(key.c_str(), text) == isText);
    FUZZ_CHECK(text == (isText ? member->get<std::string>() : std::string("before")));
    const bool isNumber = member != nullptr && member->is<int>();
    int number = -9;
    FUZZ_CHECK(mParser.GetInteger(key.c_str(), number) == isNumber);
    FUZZ_CHECK(number == (isNumber ? member->get<int>() : -9));
    const bool isTruth = member != nullptr && member->is<bool>();
    bool truth = true;
    FUZZ_CHECK(mParser.GetBoolean(key.c_str(), truth) == isTruth);
    FUZZ_CHECK(truth == (isTruth ? member->get<bool>() : true));
  }

  void Enter(const std::string& key) {
    const value* member = Member(key);
    const bool isObject = member != nullptr && member->is<value::object>();
    FUZZ_CHECK(mParser.GetObject(key.c_str()) == isObject);
    if (isObject) FUZZ_CHECK(mParser.mValueCurrent == member);
  }

  void Walk(const std::string& key) {
    const value* member = Member(key);
    const bool isArray = member != nullptr && member->is<value::array>();
    FUZZ_CHECK(mParser.IsArray(key.c_str()) == isArray);
    const value::array& list = mParser.GetArray(key.c_str());
    if (isArray) FUZZ_CHECK(&list == &member->get<value::array>());
    if (list.empty()) return;
    const value* before = mParser.mValueCurrent;
    size_t index = 0;
    auto element = mParser.Begin(list);
    while (mParser.Next(list, element)) {
      FUZZ_CHECK(index < list.size() && mParser.mValueCurrent == &list[index]);
      ++index;
      if (mParser.IsObject()) Scalars(Key());
    }
    FUZZ_CHECK(index == list.size());
    mParser.mValueCurrent = before;
  }

  void Keys() {
    const auto& members = mParser.mValueCurrent->get<value::object>();
    auto expected = members.begin();
    auto at = mParser.MapBegin();
    KZString key;
    while (mParser.MapNext(at, key)) {
      FUZZ_CHECK(expected != members.end() && key == expected->first);
      ++expected;
    }
    FUZZ_CHECK(expected == members.end());
  }

  void Convert(const std::string& key) {
    const value* member = Member(key);
    const bool has = member != nullptr && !member->is<value::null>() && !member->is<double>();
    VQValue converted("before");
    FUZZ_CHECK(mParser.GetValue(key.c_str(), converted) == has);
    if (!has) FUZZ_CHECK(converted == "before");
    static_cast<void>(converted.GetString());
    std::string json;
    converted.AppendJson(json);
  }

  FuzzInput& mIn;
  JsonParser mParser;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  Driver(in).Run();
  return 0;
}
