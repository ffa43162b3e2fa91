// The gallery shows what there is: every type and every attribute that stations know.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "station/Json.h"
#include "station/Reader.h"
#include "station/Vocabulary.h"

namespace {

using dorn::station::Json;

const std::string kResources = DORN_SOURCE_DIR "/examples/gallery/resources";

struct Used {
  std::set<std::string> mTypes;
  std::set<std::string> mKeys;       // As they stand there, such as "Label:ja".
  std::set<std::string> mMisplaced;  // "Options on LABEL".
};

void Collect(const Json& object, Used& used) {
  const std::string type(object.TextOf("Type"));
  const bool isRoot = type.empty();
  if (!isRoot) used.mTypes.insert(type);
  const auto widget = dorn::station::WidgetOf(isRoot ? "GROUP" : type, false);
  for (const auto& [key, value] : object.mMembers) {
    if (key == "Objects") {
      for (const Json& child : value.mElements) Collect(child, used);
      continue;
    }
    used.mKeys.insert(key);
    const auto* word = dorn::station::FindAttribute(key);
    if (word == nullptr || !word->IsOn(widget)) used.mMisplaced.insert(key + " on " + type);
  }
}

Used UsedInGallery() {
  Used used;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kResources)) {
    if (entry.path().extension() != ".json") continue;
    std::ifstream file(entry.path());
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    Collect(dorn::station::Reader().Read(text).mJson, used);
  }
  return used;
}

TEST(GalleryTest, ShowsEveryType) {
  const Used used = UsedInGallery();
  for (const auto& type : dorn::station::Types()) {
    EXPECT_EQ(used.mTypes.count(std::string(type.mName)), 1U) << type.mName;
  }
}

// A grid's "Data" is its table, which comes from the host's code and never from a file.
TEST(GalleryTest, ShowsEveryAttribute) {
  const Used used = UsedInGallery();
  for (const auto& attribute : dorn::station::Attributes()) {
    if (attribute.mAttribute == dorn::station::Attribute::kData) continue;
    EXPECT_EQ(used.mKeys.count(std::string(attribute.mName)), 1U) << attribute.mName;
  }
}

TEST(GalleryTest, ShowsEachInJapaneseThatMayBe) {
  const Used used = UsedInGallery();
  for (const auto& attribute : dorn::station::Attributes()) {
    if (!attribute.mHasLanguages) continue;
    EXPECT_EQ(used.mKeys.count(std::string(attribute.mName) + ":ja"), 1U) << attribute.mName;
  }
}

TEST(GalleryTest, ShowsEachWhereItMeansSomething) {
  EXPECT_EQ(UsedInGallery().mMisplaced, std::set<std::string>());
}

}  // namespace
