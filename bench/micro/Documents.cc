#include "bench/micro/Documents.h"

namespace {

std::string MakeDialog() {
  std::string text = R"({"Command":"DIALOG","Name":"plant","Objects":[)";
  for (int i = 0; text.size() < 110000; ++i) {
    const std::string number = std::to_string(i);
    if (i > 0) text += ",\n  ";
    text += R"({"Name":"pump)" + number + R"(","Type":"BUTTON","X":)" +
            std::to_string(i % 40 * 32) + R"(,"Y":)" + std::to_string(i / 40 * 24) +
            R"(,"Value":"OFF","Enabled":true,"Caption":"ポンプ )" + number +
            R"(","Style":{"Color":"#3366cc","Size":12},"Steps":[1,2,3]})";
  }
  return text + "]}";
}

}  // namespace

const std::string& DialogDocument() {
  static const std::string text = MakeDialog();
  return text;
}

const std::string& CommandText() {
  static const std::string text =
      R"({"Command":"CONDITION","SessionId":"station000042","ActionName":"pump17","ActionType":"CLICK","Objects":[{"Name":"pump17","Value":"ON","Count":12}]})";
  return text;
}

std::string TreeDocument(int objects) {
  std::string text = R"({"Command":"DIALOG","Name":"tree","Objects":[)";
  for (int i = 0; i < objects; ++i) {
    if (i > 0) text += ',';
    text += R"({"Name":"o)" + std::to_string(i) + R"(","Type":"LABEL","Value":0})";
  }
  return text + "]}";
}

void LoadTree(VQJsonResource& tree, int objects) {
  VQJsonParser parser;
  parser.ParseDialog(&tree, TreeDocument(objects), true);
}

std::string ConditionText(int objects, int value) {
  std::string text = R"({"Command":"CONDITION","Objects":[)";
  for (int i = 0; i < objects; ++i) {
    if (i > 0) text += ',';
    text += R"({"Name":"o)" + std::to_string(i) + R"(","Value":)" + std::to_string(value) + "}";
  }
  return text + "]}";
}
