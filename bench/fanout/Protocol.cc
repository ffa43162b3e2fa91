#include "bench/fanout/Protocol.h"

#include <cstdio>

#include "station/Commands.h"
#include "station/Framing.h"

namespace {

using dorn::station::Framed;

std::string SixDigits(int number) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%06d", number % 1000000);
  return digits;
}

std::vector<Step> Enter(int number, const std::string& dialog) {
  const std::string id = "station" + SixDigits(number);
  return {{Framed(R"({"Command":"HELLO","Id":")" + id + R"(","Pass":"p","Type":"PC"})"), 0},
          {Framed(dorn::station::ChangeText(dialog)), 0}};
}

std::vector<Step> EnterNothing(int) { return {}; }

// The text that the dialog server sends for one change.
std::string PanelMessage() {
  return Framed(
      "{ \"Command\":\"UPDATE\", \"Objects\":[{\"Value\":\"000000\","
      "\"Name\":\"Level\"}]}\n");
}

std::string Payload() { return std::string(PanelMessage().size() - 2, 'x'); }

std::string RedisWords(const std::vector<std::string>& words) {
  std::string out = "*" + std::to_string(words.size()) + "\r\n";
  for (const std::string& word : words) {
    out += "$" + std::to_string(word.size()) + "\r\n" + word + "\r\n";
  }
  return out;
}

std::vector<Step> RedisSubscribe(int) {
  return {{RedisWords({"SUBSCRIBE", "c"}), RedisWords({"subscribe", "c"}).size() + 4}};
}

std::string RedisPublish(int) { return RedisWords({"PUBLISH", "c", Payload()}); }

// All packets of this program are shorter than 128 bytes.
std::string MqttPacket(char type, const std::string& body) {
  return std::string{type, static_cast<char>(body.size())} + body;
}

std::string MqttText(const std::string& text) {
  return std::string{'\0', static_cast<char>(text.size())} + text;
}

std::vector<Step> MqttConnect(int number) {
  const std::string session{'\x04', '\x02', '\0', '\0'};  // Version, clean session, no keep-alive.
  return {{MqttPacket('\x10', MqttText("MQTT") + session + MqttText("b" + SixDigits(number))), 4}};
}

std::vector<Step> MqttSubscribe(int number) {
  std::vector<Step> steps = MqttConnect(number);
  const std::string body = std::string{'\0', '\x01'} + MqttText("c") + '\0';
  steps.push_back({MqttPacket('\x82', body), 5});
  return steps;
}

std::string MqttPublish(int) { return MqttPacket('\x30', MqttText("c") + Payload()); }

}  // namespace

std::vector<Step> EnterPanel(int number) { return Enter(number, "panel"); }

std::vector<Step> EnterAnswer(int number) { return Enter(number, "answer"); }

std::string PanelChange(int count) {
  return Framed(R"({"Command":"CONDITION","Objects":[{"Name":"Level","Value":")" +
                SixDigits(count) + R"("}]})");
}

std::size_t PanelMessageBytes() { return PanelMessage().size(); }

std::size_t AnswerBytes() {
  return Framed(R"({"Command":"UPDATE","Objects":[{"Name":"Level","Value":"000000"}]})").size();
}

Protocol PanelProtocol() { return {EnterPanel, EnterPanel, PanelChange, PanelMessageBytes()}; }

Protocol BareProtocol() { return {EnterNothing, EnterNothing, PanelChange, PanelMessageBytes()}; }

// A delivery is ["message", channel, payload]. The one that changes gets a number as an answer.
Protocol RedisProtocol() {
  return {RedisSubscribe, EnterNothing, RedisPublish,
          RedisWords({"message", "c", Payload()}).size()};
}

// A delivery looks like the publication.
Protocol MqttProtocol() { return {MqttSubscribe, MqttConnect, MqttPublish, MqttPublish(0).size()}; }
