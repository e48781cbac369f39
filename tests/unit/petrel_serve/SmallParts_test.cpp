// The parts of the server that need few words.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <future>

#include "apps/petrel/SimulateOptions.h"
#include "apps/petrel/serve/PhonesCommand.h"
#include "apps/petrel/serve/QrPicture.h"
#include "apps/petrel/serve/RefusalLog.h"
#include "apps/petrel/serve/TickingLoop.h"
#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace petrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using namespace std::chrono_literals;

TEST(QrPicture, IsASquareWithAQuietZone) {
    const std::string svg = QrAsSvg("https://192.0.2.1:9443/#pair=ABCD-2345");
    EXPECT_THAT(svg, StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 37 37\""));
    // The corner of the first finder pattern.
    EXPECT_THAT(svg, HasSubstr("M4,4h1v1h-1z"));
    EXPECT_EQ(svg.find("M3,"), std::string::npos);
    EXPECT_EQ(QrAsSvg(std::string(5000, 'x')), "");
}

TEST(QrPicture, HasTwoRowsInALineOfTheTerminal) {
    const std::string text = QrAsTerminalText("https://192.0.2.1:9443/#pair=ABCD-2345");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 19);  // 29 squares and 8 around them
    EXPECT_THAT(text, HasSubstr("█"));
    EXPECT_EQ(QrAsTerminalText(std::string(5000, 'x')), "");
}

TEST(RefusalLog, LeavesOutMostOfAFlood) {
    std::vector<std::string> lines;
    RefusalLog log([&lines](const std::string& line) { lines.push_back(line); });
    RefusalLog::Time now{1000s};
    for (int i = 0; i < 1000; ++i)
        log.Add("192.0.2.1", "413 too-large", now);
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(RefusalLog::kLinesInAPeriod));
    EXPECT_EQ(lines.front(), "192.0.2.1: refused: 413 too-large");
    now += RefusalLog::kPeriod;
    log.Tick(now);
    EXPECT_EQ(lines.back(), "and 980 more requests were refused");
    log.Tick(now);
    log.Add("192.0.2.2", "400 malformed", now);
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(RefusalLog::kLinesInAPeriod) + 2);
}

TEST(TickingLoop, RunsJobsInOrderAndTicks) {
    std::promise<void> ticked;
    std::atomic<bool> done{false};
    TickingLoop loop(1ms, [&ticked, &done] {
        if (!done.exchange(true)) ticked.set_value();
    });
    std::vector<int> order;
    loop.Post([&order] { order.push_back(1); });  // waits for the start
    loop.Post([&order] { order.push_back(2); });
    loop.Start();
    EXPECT_EQ(ticked.get_future().wait_for(10s), std::future_status::ready);
    loop.Post([&order] { order.push_back(3); });
    loop.Stop();
    loop.Post([&order] { order.push_back(4); });
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(PhoneList, NamesEachPhoneInALine) {
    EXPECT_EQ(PhoneList({}, 0), "No phone is paired.\n");
    const std::string list =
        PhoneList({{"id-a", "Ä", "127.0.1.1", "d", 0, 1000}, {"id-b", "Longer", "", "d", 0, 10}}, 1010);
    EXPECT_THAT(
        list,
        StartsWith("Ä       id-a  127.0.1.1        just now\nLonger  id-b  -                1970-01-01 "));
}

TEST(RevokePhone, TakesNameOrIdentifierAndSaysWhenThereIsNone) {
    const tests::TemporaryFolder temporary;
    std::string error;
    auto book = PhoneBook::Open(temporary.State(), error);
    ASSERT_TRUE(book->Update(
        [](std::vector<PairedPhone>& phones) {
            phones.push_back({"id-a", "Anna", "127.0.1.1", "digest", 0, 0});
            phones.push_back({"id-b", "Ben", "127.0.1.2", "digest", 0, 0});
        },
        error));
    const auto state = temporary.Path() / "state";
    EXPECT_EQ(RevokePhone({state, "Nobody"}), 1);
    EXPECT_EQ(RevokePhone({state, "Anna"}), 0);
    EXPECT_EQ(RevokePhone({state, "id-b"}), 0);
    EXPECT_EQ(RevokePhone({state, "Anna"}), 1);
    EXPECT_EQ(ListPhones({state}), 0);
    temporary.WriteState(PhoneBook::kFile, "nonsense");
    EXPECT_EQ(RevokePhone({state, "Anna"}), 2);
    EXPECT_EQ(ListPhones({state}), 2);
}

CommandLine Read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "petrel");
    return ReadCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(ServeCommandLine, HasDefaults) {
    const CommandLine line = Read({"serve"});
    const auto* const options = std::get_if<ServeOptions>(&line.serve);
    ASSERT_NE(options, nullptr);
    EXPECT_FALSE(line.options);
    EXPECT_EQ(options->port, 9443);
    EXPECT_EQ(options->address, "0.0.0.0");
    EXPECT_THAT(options->phoneAddresses, ElementsAre());
    EXPECT_FALSE(options->quiet);
}

TEST(ServeCommandLine, TakesEverything) {
    const CommandLine line =
        Read({"serve", "--port", "1", "--address", "::", "--bind", "192.0.2.1,192.0.2.2,192.0.2.1", "--state",
              "s", "--cert", "c", "--key", "k", "--name", "Studio", "--quiet"});
    const auto* const options = std::get_if<ServeOptions>(&line.serve);
    ASSERT_NE(options, nullptr) << line.text;
    EXPECT_EQ(options->port, 1);
    EXPECT_EQ(options->address, "::");
    EXPECT_THAT(options->phoneAddresses, ElementsAre("192.0.2.1", "192.0.2.2"));
    EXPECT_EQ(options->state, "s");
    EXPECT_EQ(options->certificate, "c");
    EXPECT_EQ(options->key, "k");
    EXPECT_EQ(options->name, "Studio");
    EXPECT_TRUE(options->quiet);
}

TEST(ServeCommandLine, RefusesWhatDoesNotFit) {
    for (const auto& arguments :
         std::vector<std::vector<const char*>>{{"serve", "--port", "65536"},
                                               {"serve", "--port", "-1"},
                                               {"serve", "--address", "somewhere"},
                                               {"serve", "--bind", "192.0.2.1,nonsense"},
                                               {"serve", "--bind", ","},
                                               {"serve", "--cert", "c"},
                                               {"serve", "--key", "k"},
                                               {"serve", "--unknown"},
                                               {"revoke"},
                                               {"phones", "extra"},
                                               {}}) {
        const CommandLine line = Read(arguments);
        EXPECT_EQ(line.exitCode, 2);
        EXPECT_NE(line.text, "");
        EXPECT_EQ(line.serve.index(), 0U);
    }
}

TEST(ServeCommandLine, KnowsItsSiblings) {
    const CommandLine phones = Read({"phones", "--state", "s"});
    EXPECT_EQ(std::get<PhonesOptions>(phones.serve).state, "s");
    const CommandLine revoke = Read({"revoke", "Anna's phone"});
    EXPECT_EQ(std::get<RevokeOptions>(revoke.serve).phone, "Anna's phone");
    EXPECT_TRUE(Read({"simulate"}).options);
    EXPECT_THAT(Read({"--help"}).text, HasSubstr("serve"));
    EXPECT_EQ(Read({"serve", "--help"}).exitCode, 0);
}

}  // namespace
}  // namespace petrel
