// The short way from the text of a usual command to its objects.
// Internal: not installed. Loop thread only.
#ifndef DORN_MODEL_COMMANDREADER_H_
#define DORN_MODEL_COMMANDREADER_H_

#include <string>

#include "dorn/model/VQJsonCommand.h"

namespace dorn {

// Appends the commands of a text to `jo` as VQJsonParser::ParseCommand() does and returns true, or
// returns false with nothing made and nothing printed. It knows what stations send all day:
//
//   {"Command":"WORD", <attributes>, "Objects":[{<attributes>}, ...]}
//   {"Commands":[<such objects>]}
//
// where attributes are plain texts, short integers and booleans. Anything else is left to the
// reader of JSON documents, so that errors, traces and all rules for rare things are in one place:
//  - escapes, both kinds of quotes in one string, null, floating and long numbers, syntax errors;
//  - a key twice, containers as attributes, objects in objects;
//  - "DIALOG", "NotifyList", and objects of the classes that print a trace or have children;
//  - more than 48 members or 16 objects in one text.
bool ReadUsualCommands(const std::string& text, VQJsonCommands& jo);

}  // namespace dorn

#endif  // DORN_MODEL_COMMANDREADER_H_
