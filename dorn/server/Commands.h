// What a station's commands do. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_COMMANDS_H_
#define DORN_SERVER_COMMANDS_H_

class VQClientSocket;
class VQJsonObject;

namespace dorn {

// Executes one entry of a message from the station of `client`. Calls hooks of the host, which may
// change the entry and close the connection.
void ExecuteCommand(VQClientSocket& client, VQJsonObject* entry);

// How far a greeting has come before: not at all; its time had to come first; the host was asked,
// and has held the answer until now.
enum class Greeting { kNew, kDelayed, kHeld };

// Goes on with a greeting that waited. What it has behind it is not done again.
void ResumeGreeting(VQClientSocket& client, VQJsonObject* entry, Greeting greeting);

// Tells the station that its log-in failed.
void RefuseLogIn(VQClientSocket& client);

}  // namespace dorn

#endif  // DORN_SERVER_COMMANDS_H_
