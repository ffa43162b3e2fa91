// What stations do and expect.
#include "tests/scene/PlayTest.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(PlayTest, LogsInAndEntersWhatTheHostOpens) {
  Holds("a: expect dialog page\na: expect command OPEN DialogName page");
  Fails("a: expect dialog second within 50ms", "the dialog second", "the station shows page");
}

TEST_F(PlayTest, LogInsAreRefused) {
  Holds("b: login user wrong refused\nb: login user wrong refused 認証失敗\nb: login user right");
  Fails("b: login user wrong", "user is logged in", "the station is refused: ");
  Fails("b: login user right refused", "the host refuses", "the station shows page");
  Fails("b: login user wrong refused \"other words\"", "the host refuses: other words", "認証失敗");
}

TEST_F(PlayTest, EntersDialogs) {
  Holds("a: enter second\na: expect only Value here\na: enter nowhere nothing\na: enter page");
  Fails("a: enter nowhere", "the dialog nowhere", "finds no dialog nowhere");
  Fails("a: enter second nothing", "no dialog second", "shows second");
}

TEST_F(PlayTest, ClicksAreDealtWithBeforeTheNextStep) {
  Holds(
      "b: login user right\na: click touch\na: expect count Value 1 within 0s\n"
      "b: expect count Value 1 within 0s\nb: click touch\na: expect count Value 2 within 0s");
}

TEST_F(PlayTest, ClicksChooseCheckAndLead) {
  Holds("a: click right\na: expect right Attr ON\na: expect left Attr OFF");
  Holds("a: click check\na: expect check Value ON\na: click check\na: expect check Value OFF");
  Holds("a: click other\na: expect dialog second");
}

TEST_F(PlayTest, WhatAnOperatorCannotTouchIsRefused) {
  Fails("a: click inside", "inside can be clicked", "its group locked has Enabled OFF");
  Fails("a: set fixed 1", "fixed can be changed", "fixed has ReadOnly ON");
  Fails("a: click tuoch", "an object tuoch", "no object tuoch in page; do you mean touch?");
  Fails("a: click count", "count can be clicked", "count is of type LABEL");
  Fails("a: click locked", "locked can be clicked", "locked is of type GROUP");
  Fails("a: set count 5", "count can be changed", "count is of type LABEL");
  Fails("a: set touch 5", "touch can be changed", "touch is of type BUTTON");
  Holds("a: click count anyway\na: set count 5 anyway\na: expect count Value 5");
  Fails("a: set left 1", "a Value to set", "write: click left");
  Fails("a: ack text 1", "a grid text", "text is of type EDIT");
  Holds("a: click inside anyway\na: set fixed 1 anyway\na: expect fixed Value 1");
}

TEST_F(PlayTest, SetsAndComparesValues) {
  Holds(
      "b: login user right\na: set text \"two words\"\nb: expect text Value \"two words\"\n"
      "b: expect text Value contains words\nb: expect text Value not first\n"
      "a: set count Value 12\nb: expect count Value above 11.5\nb: expect count Value below 13\n"
      "b: expect text no Error\nb: expect text Enabled ON\na: set text Error wrong\n"
      "b: expect text Error wrong");
  FailsEach({
      {"a: expect text Value second within 50ms", "text Value is second within 50ms", "first"},
      {"a: expect text Value not first within 50ms", "text Value is not first", "first"},
      {"a: expect text Value contains x within 50ms", "text Value contains x", "first"},
      {"a: expect count Value above 0 within 50ms", "count Value is above 0", "0"},
      {"a: expect count Value below 0 within 50ms", "count Value is below 0", "0"},
      {"a: expect text no Value within 50ms", "no Value of text", "first"},
      {"a: expect text Unit cm within 50ms", "text Unit is cm", "text has no attribute Unit"},
      {"a: expect txet Value 1 within 50ms", "txet Value is 1", "do you mean text?"},
  });
}

TEST_F(PlayTest, WaitsForWhatTakesAWhile) {
  Holds("a: click wait\na: expect late Value \"not yet\" within 0s\na: expect late Value now");
  Fails("a: click wait\na: expect late Value now within 1ms", "late Value is now", "not yet");
}

TEST_F(PlayTest, ObjectsComeAndGo) {
  Holds(
      "b: login user right\na: click add\nb: expect item there\nb: expect command ADD Name items\n"
      "a: click remove\nb: expect item gone\nb: expect command DELETE Name item");
  Fails("a: expect item there within 50ms", "an object item", "no object item");
  Fails("a: expect text gone within 50ms", "no object text", "it is there");
}

TEST_F(PlayTest, AlarmsAreAcknowledged) {
  Holds("a: expect alarms Rows contains high\na: ack alarms 1\na: expect count Value 100");
}

TEST_F(PlayTest, LooksBackToTheLastStepThatActed) {
  Holds(
      "a: click touch\na: expect message count\nb: login user right\n"
      "a: expect no message count for 20ms");
  Fails("a: click touch\nb: login user right\na: expect message count within 20ms", "a message",
        "none since the step that acted last");
}

TEST_F(PlayTest, NothingIsExpectedToCome) {
  Holds(
      "a: expect no update for 50ms\na: expect no command OPEN for 20ms\n"
      "a: click add\na: expect no update of text for 20ms\na: expect no message DELETE for 20ms");
  Fails("a: click touch\na: expect no update for 20ms", "no update", "\"count\"");
  Fails("b: login user right\na: click touch\nb: expect no update of count for 20ms",
        "no update of count", "\"count\"");
  Fails("a: click add\na: expect no command ADD for 20ms", "no command ADD", "\"item\"");
  Fails("a: click wait\na: expect no update of late for 2s", "no update of late", "\"now\"");
  Fails("a: expect command ADD within 50ms", "a command ADD",
        "none since the step that acted last");
}

TEST_F(PlayTest, GetsFiles) {
  Holds(
      "a: get lines.txt\na: get lines.txt is resources/lines.txt\na: get lines.txt contains two\n"
      "a: get other.txt missing");
  FailsEach({
      {"a: get other.txt", "the file other.txt", "the host has no such file"},
      {"a: get lines.txt missing", "no file lines.txt", "a file of 8 bytes"},
      {"a: get lines.txt contains three", "contains three", "a file of 8 bytes that does not"},
      {"a: get page.json is resources/lines.txt", "8 bytes", "another one from byte 1 on"},
      {"a: get lines", "a file that can be asked for", "without an extension"},
  });
}

TEST_F(PlayTest, SendsTextsAsTheyAre) {
  Holds(
      "a: send {\"Command\":\"CONDITION\",\"ActionName\":\"touch\",\"ActionType\":\"CLICK\","
      "\"Objects\":[{\"Name\":\"touch\"}]}\na: expect count Value 1");
  Holds(
      "p: connect\np: send {\"Command\":\"HELLO\",\"Id\":\"x\",\"Pass\":\"wrong\"}\n"
      "p: expect command ERROR Status Authentication\np: expect no message OPEN for 20ms");
}

TEST_F(PlayTest, LeavesAndComesBack) {
  Holds("a: enter second\na: close\na: return\na: expect dialog second");
  Holds("a: leave\na: login user right");
  Fails("a: leave\na: click touch", "a station that is logged in", "is logged out");
  Fails("a: leave\na: return", "the session goes on", "is logged out");
}

TEST_F(PlayTest, SessionsEnd) {
  Holds("b: login guest right\nb: expect closed\nb: expect session ended");
  Holds("b: login guest right\nb: close\nwait 1s\nb: return refused");
  Fails("a: expect session ended within 50ms", "the session ends", "shows page");
}

TEST_F(PlayTest, HostsCloseTheLine) {
  Holds("a: click close\na: expect closed\na: expect dialog page within 3s");
  Fails("a: expect closed within 50ms", "the host closes the connection", "shows page");
}

TEST_F(PlayTest, AFailureTellsTheLastTenMessagesOfItsStation) {
  const auto result =
      Play("b: login user right\nb: click touch\na: expect count Value 2 within 50ms");
  ASSERT_TRUE(result.mFailure);
  EXPECT_EQ(result.mWho, "a");
  EXPECT_THAT(result.mMessages, HasSubstr(" <- "));
  EXPECT_THAT(result.mMessages, HasSubstr("\"count\""));
  EXPECT_THAT(result.mMessages, HasSubstr("\"Pass\":\"***\""));
  EXPECT_THAT(result.mMessages, Not(HasSubstr("?f")));
  EXPECT_THAT(result.mMessages, Not(HasSubstr("CONDITION"))) << "that was b's";
  EXPECT_THAT(result.mHostOutput, HasSubstr("Command=CONDITION"));
}
