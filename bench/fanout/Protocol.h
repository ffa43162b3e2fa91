// What the peers of each kind of server say, and how many bytes they get for it.
#ifndef BENCH_FANOUT_PROTOCOL_H_
#define BENCH_FANOUT_PROTOCOL_H_

#include <cstddef>
#include <string>
#include <vector>

// One question and the length of its answer; 0: the answer is read up to the first ETX.
struct Step {
  std::string question;
  std::size_t answerBytes;
};

struct Protocol {
  // How peer `number` enters, as one that receives and as one that changes.
  std::vector<Step> (*enter)(int number);
  std::vector<Step> (*enterAsChanger)(int number);
  // The `count`-th change, and the bytes that each receiver gets for it.
  std::string (*change)(int count);
  std::size_t messageBytes;
};

// The dialog server, whose dialog is "panel" or "answer".
std::vector<Step> EnterPanel(int number);
std::vector<Step> EnterAnswer(int number);
std::string PanelChange(int count);
std::size_t PanelMessageBytes();
std::size_t AnswerBytes();

Protocol PanelProtocol();
Protocol BareProtocol();
Protocol RedisProtocol();
Protocol MqttProtocol();

#endif  // BENCH_FANOUT_PROTOCOL_H_
