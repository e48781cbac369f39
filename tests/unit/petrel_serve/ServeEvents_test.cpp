#include "apps/petrel/serve/ServeEvents.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "apps/petrel/serve/QrPicture.h"

namespace tests {
namespace {

using nlohmann::json;

// Whatever a phone is called: a line feed inside an event would make two of it.
json Event(const std::string& line) {
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    return json::parse(line, nullptr, false);
}

TEST(ServeEvents, SayWhatHappenedOnALineEach) {
    EXPECT_EQ(Event(petrel::ReadyEvent({{"https://a/", "https://b/"}, "https://o/", "AA"})),
              json({{"event", "ready"},
                    {"urls", {"https://a/", "https://b/"}},
                    {"operatorPage", "https://o/"},
                    {"fingerprint", "AA"}}));
    EXPECT_EQ(Event(petrel::CodeEvent("ABCD", "https://a/#pair=ABCD")),
              json({{"event", "code"},
                    {"code", "ABCD"},
                    {"url", "https://a/#pair=ABCD"},
                    {"qr", petrel::QrAsTerminalText("https://a/#pair=ABCD")}}));
    EXPECT_EQ(Event(petrel::OpenedEvent({"An\"na\n", "127.0.1.1", 9001, "I"})),
              json({{"event", "opened"},
                    {"identifier", "I"},
                    {"name", "An\"na\n"},
                    {"address", "127.0.1.1"},
                    {"port", 9001}}));
    EXPECT_EQ(Event(petrel::ClosedEvent("127.0.1.1")), json({{"event", "closed"}, {"address", "127.0.1.1"}}));
    EXPECT_EQ(Event(petrel::FailedEvent("No.")), json({{"event", "failed"}, {"sentence", "No."}}));
}

TEST(ServeEvents, StandBadTextToo) {
    EXPECT_EQ(Event(petrel::FailedEvent("\xff"))["sentence"], "\xef\xbf\xbd");
}

}  // namespace
}  // namespace tests
