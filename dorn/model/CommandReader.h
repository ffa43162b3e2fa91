// The commands of a station's text as objects. Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_COMMANDREADER_H_
#define DORN_MODEL_COMMANDREADER_H_

#include <string>

#include "dorn/model/CommandOutline.h"
#include "dorn/model/VQJsonCommand.h"

namespace dorn {

// Appends the commands of a usual text to `jo` as VQJsonParser::ParseCommand() does and returns
// true, or returns false with nothing made and nothing printed. What is not usual is left to the
// reader of JSON documents, so that errors, traces and all rules for rare things are in one place.
bool ReadUsualCommands(const std::string& text, VQJsonCommands& jo);

// The objects of an outline that was read, appended to `jo`.
void MakeCommands(const CommandOutline& outline, VQJsonCommands& jo);

// Does what VQJsonParser::ParseCommand() does with any text, by way of a document.
bool ReadDocumentCommands(const std::string& text, VQJsonCommands& jo);

// Gives an object the name and attributes of a node, and no others. Its attributes have no
// containers.
void FillObject(const CommandOutline::Node& node, VQJsonObject& to);

}  // namespace dorn

#endif  // DORN_MODEL_COMMANDREADER_H_
