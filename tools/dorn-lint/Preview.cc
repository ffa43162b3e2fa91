#include "tools/dorn-lint/Preview.h"

#include <algorithm>
#include <charconv>

#include "station/Replica.h"
#include "station/Screen.h"
#include "station/Utf8.h"
#include "tools/dorn-lint/Dialog.h"
#include "tools/dorn-terminal/Layout.h"
#include "tools/dorn-terminal/Objects.h"
#include "tools/dorn-terminal/Painter.h"
#include "tools/dorn-terminal/Texts.h"

namespace dorn::lint {

namespace {

using station::Json;

// Of either side; more than any screen has.
constexpr int kLargestPicture = 500;

// What gets lost on the way to a station is lost here.
bool IsKept(const Node& node) {
  return node.mKind != Node::Kind::kNull && node.mKind != Node::Kind::kDecimal;
}

Json AsJson(const Node& node) {
  switch (node.mKind) {
    case Node::Kind::kBool:
      return Json(node.mTruth);
    case Node::Kind::kInteger:
      return Json::Number(node.Integer());
    case Node::Kind::kString:
      return Json::String(station::ValidUtf8(node.mText));
    case Node::Kind::kArray: {
      Json array = Json::MakeArray();
      for (const Node& element : node.mElements) array.mElements.push_back(AsJson(element));
      return array;
    }
    case Node::Kind::kObject: {
      Json object = Json::MakeObject();
      for (const Member& member : node.mMembers) {
        object.mMembers.erase(member.mKey);
        if (IsKept(member.mValue)) object.mMembers[member.mKey] = AsJson(member.mValue);
      }
      return object;
    }
    default:
      return {};
  }
}

// The tree as the library keeps it: without the objects that it loses.
Json AsJson(const Object& object) {
  Json json = AsJson(*object.mNode);
  for (const station::ChildrenWord& word : station::ChildrenWords()) {
    json.mMembers.erase(std::string(word.mName));
  }
  if (object.mChildren.empty()) return json;
  Json& children = json.mMembers["Objects"] = Json::MakeArray();
  for (const auto& child : object.mChildren) children.mElements.push_back(AsJson(*child));
  return json;
}

// One line each, without the blanks at its end.
std::string Lines(const terminal::Grid& grid) {
  std::string lines;
  for (int y = 0; y < grid.Height(); ++y) lines += grid.LineText(y) + "\n";
  return lines;
}

}  // namespace

std::optional<PictureSize> ParseSize(std::string_view text) {
  PictureSize size;
  const char* end = text.data() + text.size();
  auto [at, error] = std::from_chars(text.data(), end, size.mWidth);
  if (error != std::errc() || size.mWidth < terminal::kSmallestWidth ||
      size.mWidth > kLargestPicture)
    return {};
  if (at == end) return size;
  if (*at != 'x') return {};
  const auto [last, wrong] = std::from_chars(at + 1, end, size.mHeight);
  const bool isSize = wrong == std::errc() && last == end;
  if (!isSize || size.mHeight < terminal::kSmallestHeight || size.mHeight > kLargestPicture)
    return {};
  return size;
}

bool IsMeantAsSize(std::string_view text) {
  const std::string_view digits = "0123456789";
  const std::size_t first = text.find_first_of(digits);
  const bool isPath = text.find('/') != std::string_view::npos ||
                      (text.size() > 5 && text.substr(text.size() - 5) == ".json");
  const bool isNumber = first == 0 || (first == 1 && text.find_first_of("xX+-.") == 0);
  return isNumber && !isPath;
}

std::string WantedSize() {
  const std::string most = std::to_string(kLargestPicture);
  return "a size from " + std::to_string(terminal::kSmallestWidth) + "x" +
         std::to_string(terminal::kSmallestHeight) + " to " + most + "x" + most +
         ", such as 80 or 132x43";
}

std::optional<std::string> Preview(const Document& document, const PictureSize& size,
                                   std::string_view language) {
  const Node* node = document.IsRead() ? FindDialog(document.mRoot) : nullptr;
  if (node == nullptr) return std::nullopt;
  const std::unique_ptr<Object> dialog = MakeDialog(*node);
  station::Replica replica;
  replica.Enter(station::ValidUtf8(dialog->mName), std::nullopt);
  replica.ReceiveTree(AsJson(*dialog), false);
  const station::Screen screen = station::MakeScreen(replica, language);
  const terminal::Sheet sheet = terminal::MakeSheet(screen, {}, size.mWidth);
  terminal::Grid grid(size.mWidth, size.mHeight > 0 ? size.mHeight : sheet.mHeight + 1);
  terminal::Painter(grid).Put(0, 0, screen.mTitle, terminal::kBoldStyle, size.mWidth);
  // As on a terminal: below the title, in the middle.
  const terminal::Rect body{0, 1, size.mWidth, grid.Height() - 1};
  terminal::Painter painter(grid, body, (size.mWidth - sheet.mWidth) / 2, 1);
  const terminal::ObjectStates states;
  terminal::ObjectPainter(painter, states, terminal::TextsIn(language)).Draw(sheet);
  return Lines(grid);
}

}  // namespace dorn::lint
