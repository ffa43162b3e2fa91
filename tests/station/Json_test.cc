#include "station/Json.h"

#include <gtest/gtest.h>

namespace dorn::station {
namespace {

TEST(StationJsonTest, WritesStrictTexts) {
  Json::Object members;
  members["b"] = Json::Array{} == Json::Array{} ? Json(true) : Json(false);
  members["a"] = Json::String("x\"\\\n\t\x01/é");
  members["c"] = Json::MakeArray({Json(), Json::Number("1.50"), Json::Number(-7)});
  members["d"] = Json::MakeObject();
  members["e"] = Json::MakeArray();
  EXPECT_EQ(Json::MakeObject(members).Written(),
            R"({"a":"x\"\\\n\t\u0001/é","b":true,"c":[null,1.50,-7],"d":{},"e":[]})");
}

TEST(StationJsonTest, FindsMembersAndTheirTexts) {
  Json::Object members;
  members["n"] = Json::Number("12");
  members["t"] = Json(true);
  const Json json = Json::MakeObject(members);
  EXPECT_EQ(json.TextOf("n"), "12");
  EXPECT_EQ(json.TextOf("t"), "true");
  EXPECT_EQ(json.TextOf("x"), "");
  EXPECT_EQ(json.Find("x"), nullptr);
  EXPECT_EQ(Json::String("s").Find("n"), nullptr);
}

TEST(StationJsonTest, ComparesContents) {
  EXPECT_EQ(Json::String("1"), Json::String("1"));
  EXPECT_NE(Json::String("1"), Json::Number("1"));
  EXPECT_NE(Json(true), Json(false));
  EXPECT_NE(Json::MakeArray({Json()}), Json::MakeArray());
}

}  // namespace
}  // namespace dorn::station
