// What a station has sent and received, one command each, without its fences.
#ifndef TOOLS_DORN_STATION_SCENE_MESSAGELOG_H_
#define TOOLS_DORN_STATION_SCENE_MESSAGELOG_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "station/Framing.h"
#include "station/Json.h"
#include "tools/dorn-station/scene/Step.h"

namespace dorn::scene {

enum class Direction { kSent, kReceived, kNote };

struct Message {
  Ms mAt;  // Since the scene began.
  Direction mDirection;
  std::string mText;
  dorn::station::Json mCommand;  // Null for notes and what cannot be read.
};

class MessageLog {
 public:
  MessageLog() { StartLine(); }
  MessageLog(const MessageLog&) = delete;
  MessageLog& operator=(const MessageLog&) = delete;

  // A new connection begins in both directions.
  void StartLine();
  // The bytes of the connection in their order; any pieces.
  void AddSent(std::string_view bytes, Ms at);
  void AddReceived(std::string_view bytes, Ms at);
  // What happened to the connection, in words.
  void AddNote(std::string text, Ms at);

  // All that came so far: a number to look back to.
  std::size_t End() const { return mMessages.size(); }
  // The first received message from `since` on of which it holds; null when there is none.
  const Message* Find(std::size_t since,
                      const std::function<bool(const Message& message)>& holds) const;

  // The last messages, a line each, oldest first; passwords are left out, long ones cut.
  std::string Last(std::size_t count) const;

 private:
  // Texts of one direction.
  class Tap : public dorn::station::Framing::Sink {
   public:
    Tap(MessageLog& log, Direction direction) : mLog(log), mDirection(direction) {}
    void Feed(std::string_view bytes, Ms at);
    void Restart() { mFraming.emplace(static_cast<dorn::station::Framing::Sink&>(*this)); }

   private:
    void OnText(std::string_view text) override;
    void OnPayload(std::string_view piece, bool last) override;

    MessageLog& mLog;
    const Direction mDirection;
    Ms mAt = 0;
    std::size_t mPayload = 0;
    std::optional<dorn::station::Framing> mFraming;
  };

  void AddText(Direction direction, std::string_view text, dorn::station::Json& json, Ms at);

  std::vector<Message> mMessages;
  Tap mSent{*this, Direction::kSent};
  Tap mReceived{*this, Direction::kReceived};
};

}  // namespace dorn::scene

#endif  // TOOLS_DORN_STATION_SCENE_MESSAGELOG_H_
