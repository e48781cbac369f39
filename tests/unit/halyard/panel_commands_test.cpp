#include "apps/halyard/PanelCommands.h"

#include "tests/unit/halyard/PanelBench.h"

namespace halyard {
namespace {

using Lines = std::vector<std::string>;

Lines Words(const std::string& layout) {
    PanelBench bench;
    Lines words;
    for (const NamedRow& named : NameRows(host_runtime::ReadForm(*bench.Add("", layout).views)))
        words.push_back(named.word);
    return words;
}

TEST(PanelWords, AreTheFirstOfEachCaption) {
    EXPECT_EQ(Words(kPhonePanel), (Lines{"address", "connect"}));
    EXPECT_EQ(Words(R"(<view><edit titl="Level: dB"/><button titl="  Go on "/></view>)"),
              (Lines{"level", "go"}));
}

TEST(PanelWords, AreDifferent) {
    EXPECT_EQ(Words(R"(<view><edit titl="Port" var="port_a"/><edit titl="Port" var="port_b"/>
                       <button titl="Port" command="cmd_port"/><button titl="Port"/><edit titl="Port"/></view>)"),
              (Lines{"port", "port_b", "cmd_port", "port2", "port3"}));
}

TEST(PanelWords, AreThePanelsNamesWhereThereIsNoCaption) {
    EXPECT_EQ(Words(R"(<view><edit var="Ip_Addr"/><button command="cmd_go"/><edit/></view>)"),
              (Lines{"ip_addr", "cmd_go", "part2"}));
}

TEST(PanelWords, AreNoneOfTheProgramsOwn) {
    EXPECT_EQ(Words(R"(<view><button titl="Quit" command="cmd_quit"/><edit titl="Source" var="src"/>
                       <button titl="Help"/></view>)"),
              (Lines{"cmd_quit", "src", "help2"}));
}

class Commands : public testing::Test {
protected:
    std::string Say(const std::string& line) {
        const PanelCommands::Reply reply = commands.Run(line);
        EXPECT_FALSE(reply.quits) << line;
        EXPECT_LE(reply.lines.size(), 1U) << line;
        return reply.lines.empty() ? "" : reply.lines[0];
    }

    PanelBench bench;
    PanelCommands commands{bench.Shown()};
};

TEST_F(Commands, TypeIntoAFieldWithoutCommittingIt) {
    BenchPanel& panel = bench.Add("10.0.0.1");
    panel.glass->AddCommand("cmd_connect", [] { FAIL(); });
    EXPECT_EQ(Say("address 192.168.1.20"), "");
    EXPECT_EQ(panel.Get("ip_addr", "text"), "192.168.1.20");
    EXPECT_EQ(Say(" \tADDRESS \t two words \r"), "");
    EXPECT_EQ(panel.Get("ip_addr", "text"), "two words");
    EXPECT_EQ(Say("ip_addr 10.0.0.9"), "") << "the panel's own name";
    EXPECT_EQ(panel.Get("ip_addr", "text"), "10.0.0.9");
}

TEST_F(Commands, QuotesMakeTheEmptyTextAndKeepBlanks) {
    BenchPanel& panel = bench.Add("10.0.0.1");
    EXPECT_EQ(Say("address \" a \""), "");
    EXPECT_EQ(panel.Get("ip_addr", "text"), " a ");
    EXPECT_EQ(Say("address \"\""), "");
    EXPECT_EQ(panel.Get("ip_addr", "text"), "");
    EXPECT_EQ(Say("address \""), "");
    EXPECT_EQ(panel.Get("ip_addr", "text"), "\"");
}

TEST_F(Commands, PressAButton) {
    int pressed = 0;
    bench.Add("10.0.0.1").glass->AddCommand("cmd_connect", [&pressed] { ++pressed; });
    EXPECT_EQ(Say("connect"), "");
    EXPECT_EQ(Say("cmd_connect"), "") << "the panel's own name";
    EXPECT_EQ(pressed, 2);
}

TEST_F(Commands, SetASlider) {
    BenchPanel& panel = bench.Add("", R"(<view><slider titl="Level" var="l" valu="0"/></view>)");
    EXPECT_EQ(Say("level 0.5"), "");
    EXPECT_EQ(panel.Get("l", "valu"), "0.5");
    EXPECT_EQ(Say("level loud"), "\"level\" takes a number, not \"loud\".");
    EXPECT_EQ(panel.Get("l", "valu"), "0.5");
}

TEST_F(Commands, ThatAreWrongGetASentence) {
    bench.Add("10.0.0.1");
    bench.Add("10.0.0.2");
    EXPECT_EQ(Say("foo bar"), "There is no command \"foo\"; \"help\" lists them.");
    EXPECT_EQ(Say("status"), "There is no command \"status\"; \"help\" lists them.") << "a label takes none";
    EXPECT_EQ(Say("address"), "\"address\" takes what to enter; \"\" empties it.");
    EXPECT_EQ(Say("connect now"), "Nothing can stand behind \"connect\".");
    EXPECT_EQ(Say("quit now"), "Nothing can stand behind \"quit\".");
    EXPECT_EQ(Say("show me"), "Nothing can stand behind \"show\".");
    EXPECT_EQ(Say("connect"), "The panel does not answer to \"connect\".") << "nobody registered it";
    EXPECT_EQ(Say("source x"), "\"source\" takes the number of a source, not \"x\".");
    EXPECT_EQ(Say("source -1"), "\"source\" takes the number of a source, not \"-1\".");
    EXPECT_EQ(Say("source 99999999999999999999999"),
              "\"source\" takes the number of a source, not \"99999999999999999999999\".");
    for (const char* line : {"source 0", "source 3"})
        EXPECT_EQ(Say(line).find("There is no source "), 0U) << line;
    EXPECT_EQ(Say("address a\x1b[2J"), "That line holds characters that are no text.");
    EXPECT_EQ(Say("address \xFF"), "That line holds characters that are no text.");
    EXPECT_EQ(Say(std::string("address a\0b", 11)), "That line holds characters that are no text.");
    EXPECT_EQ(Say("address " + std::string(PanelCommands::kLongestLine, 'x')), "That line is too long.");
    EXPECT_EQ(commands.Chosen(), 0U);
}

TEST_F(Commands, OfNothingDoNothing) {
    bench.Add("10.0.0.1");
    EXPECT_EQ(Say(""), "");
    EXPECT_EQ(Say(" \t\r"), "");
}

TEST_F(Commands, ChooseTheSourceThatTheOthersAreFor) {
    BenchPanel& first = bench.Add("10.0.0.1");
    BenchPanel& second = bench.Add("");
    EXPECT_TRUE(commands.Run("source 2").draws);
    EXPECT_EQ(commands.Chosen(), 1U);
    EXPECT_EQ(Say("address 10.0.0.9"), "");
    EXPECT_EQ(first.Get("ip_addr", "text"), "");
    EXPECT_EQ(second.Get("ip_addr", "text"), "10.0.0.9");
    EXPECT_EQ(commands.Run("source").lines, (Lines{"  1  10.0.0.1", "* 2  no address yet"}));
}

TEST_F(Commands, DrawTheChosenPanelBelowItsHeading) {
    bench.Add("10.0.0.1");
    EXPECT_EQ(commands.Draw(), (Lines{"Source 1: 10.0.0.1", "  Address of the phone  []", "  [ Connect ]",
                                      "  Status                Not connected", "  Data rate"}));
    bench.AddWithoutPanel("");
    commands.Run("source 2");
    EXPECT_EQ(commands.Draw(), (Lines{"Source 2 of 2: no address yet", "  This source has no panel."}));
    EXPECT_TRUE(commands.Run("show").draws);
}

TEST_F(Commands, PutTheChosenSourceOnAirAndOff) {
    bench.Add("10.0.0.1");
    bench.AddWithoutPanel("10.0.0.2");
    EXPECT_EQ(Say("air on"), "Source 1 is on air.");
    EXPECT_EQ(commands.Run("source 2").lines, Lines{});
    EXPECT_EQ(Say("AIR ON"), "Source 2 is on air.");
    EXPECT_EQ(Say("air  off"), "Source 2 is off air.");
    EXPECT_EQ(bench.At(0).tallies, std::vector<bool>{true});
    EXPECT_EQ(bench.At(1).tallies, (std::vector<bool>{true, false}));
}

TEST_F(Commands, SayWhatAirTakes) {
    bench.Add("10.0.0.1");
    for (const char* line : {"air", "air yes", "air on off"})
        EXPECT_EQ(Say(line), "\"air\" takes on or off.") << line;
    EXPECT_TRUE(bench.At(0).tallies.empty());
}

TEST_F(Commands, HelpListsWhatThePanelTakes) {
    bench.Add("10.0.0.1", R"(<view><edit titl="Address of the phone" var="a"/><slider titl="Level" var="l"/>
                             <button titl="Connect" command="c"/><button command="cmd_x"/></view>)");
    const Lines lines = commands.Run("HELP").lines;
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[0], "address TEXT      types into \"Address of the phone\"");
    EXPECT_EQ(lines[1], "level NUMBER      sets \"Level\"");
    EXPECT_EQ(lines[2], "connect           presses \"Connect\"");
    EXPECT_EQ(lines[3], "cmd_x             presses \"cmd_x\"");
    EXPECT_EQ(lines[4].find("source [NUMBER]"), 0U);
    EXPECT_EQ(lines[8].find("quit "), 0U);
}

TEST_F(Commands, QuitEnds) {
    EXPECT_TRUE(commands.Run("quit").quits);
    EXPECT_TRUE(commands.Run(" Exit ").quits);
}

TEST_F(Commands, WithoutASourceSaySo) {
    EXPECT_EQ(commands.Draw(), Lines{"There is no source yet."});
    EXPECT_EQ(Say("source"), "There is no source yet.");
    EXPECT_EQ(Say("air on"), "There is no source yet.");
    EXPECT_EQ(Say("connect"), "There is no command \"connect\"; \"help\" lists them.");
    EXPECT_EQ(commands.Run("help").lines.size(), 5U);
}

TEST_F(Commands, ForASourceWithoutAPanelSaySo) {
    bench.AddWithoutPanel("10.0.0.1");
    EXPECT_EQ(Say("connect"), "There is no command \"connect\"; \"help\" lists them.");
    EXPECT_EQ(commands.Run("help").lines.size(), 5U);
}

}  // namespace
}  // namespace halyard
