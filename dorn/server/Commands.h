// What a station's commands do. Internal: not installed. Loop thread only.
#ifndef DORN_SERVER_COMMANDS_H_
#define DORN_SERVER_COMMANDS_H_

class VQClientSocket;
class VQJsonObject;

namespace dorn {

// Executes one entry of a message from the station of `client`. Calls hooks of the host, which may
// change the entry and close the connection.
void ExecuteCommand(VQClientSocket& client, VQJsonObject* entry);

// Goes on with a log-in that was put off by Connection::DelayLogIn(): it is not put off again.
void ResumeGreeting(VQClientSocket& client, VQJsonObject* entry);

}  // namespace dorn

#endif  // DORN_SERVER_COMMANDS_H_
