// What the server for phones says, and what becomes of it.
#include "apps/halyard/PhonesServer.h"

#include <gmock/gmock.h>

#include "tests/unit/host_sources/TemporaryDirectory.h"

namespace halyard {
namespace {

using testing::ElementsAre;

constexpr const char* kOpened =
    R"({"event":"opened","identifier":"I","name":"Anna\u001b","address":"127.0.1.1","port":9001})";

TEST(ServeArguments, PassOnWhatWasGivenOnly) {
    EXPECT_THAT(ServeArguments({true, {}, {}, {}}), ElementsAre("serve", "--events", "--quiet"));
    EXPECT_THAT(ServeArguments({true, "0", "--odd", "127.0.9.1"}),
                ElementsAre("serve", "--events", "--quiet", "--port=0", "--name=--odd", "--bind=127.0.9.1"));
}

TEST(PhonesEvents, AreRead) {
    const auto ready = std::get<ServerReady>(ReadPhonesEvent(
        R"({"event":"ready","urls":["https://a/","https://b/"],"operatorPage":"https://o/","fingerprint":"AA"})"));
    EXPECT_THAT(ready.urls, ElementsAre("https://a/", "https://b/"));
    EXPECT_EQ(ready.operatorPage, "https://o/");
    EXPECT_EQ(ready.fingerprint, "AA");
    const auto shown =
        std::get<CodeShown>(ReadPhonesEvent(R"({"event":"code","code":"C","url":"U","qr":"Q"})"));
    EXPECT_EQ(shown.code + shown.url + shown.picture, "CUQ");
    const ServedPhone phone = std::get<PhoneOpened>(ReadPhonesEvent(kOpened)).phone;
    EXPECT_EQ(phone.identifier, "I");
    EXPECT_EQ(phone.address, "127.0.1.1");
    EXPECT_EQ(phone.port, 9001);
    EXPECT_EQ(std::get<PhoneClosed>(ReadPhonesEvent(R"({"event":"closed","address":"A"})")).address, "A");
    EXPECT_EQ(std::get<ServerFailed>(ReadPhonesEvent(R"({"event":"failed","sentence":"S"})")).sentence, "S");
}

TEST(PhonesEvents, AreNothingWhenTheyAreNotUnderstood) {
    for (const char* line : {"", "text", "[]", "7", "{}", R"({"event":7})", R"({"event":"later"})",
                             R"({"event":"opened","identifier":"I","address":"A"})",
                             R"({"event":"opened","identifier":"I","address":"A","port":70000})",
                             R"({"event":"opened","identifier":7,"address":"A","port":9001})"})
        EXPECT_TRUE(std::holds_alternative<std::monostate>(ReadPhonesEvent(line))) << line;
}

class PhonesServerTest : public testing::Test {
protected:
    PhonesServer Server(bool isTerminal = false) {
        return {phones,
                {[this](const std::string& text) { told += text; },
                 [this](const std::string& text) { complaints += text; }, isTerminal}};
    }

    const std::shared_ptr<ServedPhones> phones = std::make_shared<ServedPhones>();
    std::string told;
    std::string complaints;
};

TEST_F(PhonesServerTest, TellsWhereToGo) {
    PhonesServer server = Server();
    server.OnOutput(
        R"({"event":"ready","urls":["https://a/","https://b/"],"operatorPage":"https://o/","fingerprint":"AA"})");
    server.OnOutput(R"({"event":"code","code":"ABCD-2345","url":"https://a/#pair=ABCD-2345","qr":"##\n"})");
    EXPECT_EQ(told,
              "phones: Phones open this page: https://a/\n"
              "phones: Phones open this page: https://b/\n"
              "phones: Operator's page: https://o/\n"
              "phones: Fingerprint of this machine's authority (SHA-256): AA\n"
              "phones: Code for the next phone: ABCD-2345  https://a/#pair=ABCD-2345\n");
}

TEST_F(PhonesServerTest, ShowsThePictureOnATerminal) {
    PhonesServer server = Server(true);
    server.OnOutput(R"({"event":"code","code":"C","url":"U","qr":"##\n##\n"})");
    EXPECT_EQ(told, "phones: Code for the next phone: C  U\n##\n##\n");
}

TEST_F(PhonesServerTest, TellsOfPhonesAndWhereHostsReachThem) {
    PhonesServer server = Server();
    server.OnOutput(kOpened);
    ASSERT_NE(phones->At("127.0.1.1"), nullptr);
    server.OnOutput(R"({"event":"closed","address":"127.0.1.1"})");
    EXPECT_EQ(phones->At("127.0.1.1"), nullptr);
    server.OnOutput(R"({"event":"closed","address":"127.0.1.1"})");
    EXPECT_EQ(told,
              "phones: \"Anna \" is open, at 127.0.1.1\n"
              "phones: \"Anna \" is closed, at 127.0.1.1\n");
}

TEST_F(PhonesServerTest, SaysOnceWhyItCannotStart) {
    PhonesServer server = Server();
    server.OnOutput(R"({"event":"failed","sentence":"The port is taken."})");
    server.OnEnd("exit code 2");
    EXPECT_EQ(complaints, "phones: The server cannot start: The port is taken.\n");
}

TEST_F(PhonesServerTest, SaysHowItEnded) {
    PhonesServer server = Server();
    server.OnErrors("10:00:00.000 warning something\x1b");
    server.OnEnd("SIGSEGV");
    EXPECT_EQ(complaints,
              "phones: 10:00:00.000 warning something \n"
              "phones: The server has ended (SIGSEGV): no phone can be added until the next start.\n");
}

TEST_F(PhonesServerTest, SaysWhichProgramIsMissing) {
    PhonesServer server = Server();
    EXPECT_FALSE(server.Start("/nowhere/petrel", {}));
    EXPECT_EQ(
        complaints,
        "phones: The server cannot start: /nowhere/petrel cannot be run (No such file or directory).\n");
}

}  // namespace
}  // namespace halyard
