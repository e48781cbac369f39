#include "host_runtime/discovery/PhoneDirectory.h"

#include <gmock/gmock.h>

#include "host/core/zTraceManager.h"
#include "host_runtime/core/TraceOutput.h"
#include "host_runtime/core/UserLog.h"

namespace host_runtime {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Told final : public PhoneListener {
public:
    void PhoneDiscovered(const DiscoveredPhone& phone) override {
        events.push_back("+" + phone.peerIdentifier + " " + phone.host + ":" + phone.port + " " + phone.name);
    }
    void PhoneLost(const std::string& peerIdentifier) override { events.push_back("-" + peerIdentifier); }

    std::vector<std::string> Take() { return std::exchange(events, {}); }

private:
    std::vector<std::string> events;
};

class PhoneDirectoryTest : public testing::Test {
protected:
    PhoneDirectoryTest() {
        SetTraceSink([this](zFourCC, const std::string& text) { trace.push_back(text); });
        ClearUserLog();
        directory.BrowsingBegan();
    }
    ~PhoneDirectoryTest() override {
        SetTraceSink({});
        ClearUserLog();
    }

    static ServiceKey Over(int interface, bool ipv6 = false, const char* name = "Studio") {
        return {interface, ipv6, name, "local"};
    }
    static ServiceDetails At(const char* ipv4Address, const char* identifier = "PHONE") {
        return {identifier, "phone.local", ipv4Address, 9001};
    }
    static std::vector<std::string> OperatorTexts() {
        std::vector<std::string> texts;
        for (const UserLogEntry& entry : UserLogEntries())
            texts.push_back(std::to_string(entry.level) + " " + entry.text);
        return texts;
    }

    const std::shared_ptr<Told> told = std::make_shared<Told>();
    PhoneDirectory directory{told};
    std::vector<std::string> trace;
};

TEST_F(PhoneDirectoryTest, ReportsAPhoneOnceForAllItsRecords) {
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.5:9001 Studio"));
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    directory.ServiceSeen(Over(2, true), At("10.0.0.5"));
    directory.ServiceSeen(Over(3), At("192.168.1.5"));
    EXPECT_THAT(told->Take(), IsEmpty());
}

TEST_F(PhoneDirectoryTest, LosesAPhoneWithItsLastRecord) {
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    directory.ServiceSeen(Over(2, true), At("10.0.0.5"));
    told->Take();
    directory.ServiceGone(Over(2));
    EXPECT_THAT(told->Take(), IsEmpty());
    directory.ServiceGone(Over(2));
    EXPECT_THAT(told->Take(), IsEmpty()) << "it was gone already";
    directory.ServiceGone(Over(2, true));
    EXPECT_THAT(told->Take(), ElementsAre("-PHONE"));
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.5:9001 Studio")) << "back, as it was";
}

TEST_F(PhoneDirectoryTest, PrefersIpv4AndTakesTheNameOtherwise) {
    directory.ServiceSeen(Over(2, true), At(""));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE phone.local:9001 Studio"));
    directory.ServiceSeen(Over(3), At("10.0.0.5"));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.5:9001 Studio"));
    directory.ServiceSeen(Over(4, true), At(""));
    EXPECT_THAT(told->Take(), IsEmpty());
    directory.ServiceGone(Over(3));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE phone.local:9001 Studio"));
}

TEST_F(PhoneDirectoryTest, KeepsTheReportedAddressWhileOneRecordHasIt) {
    directory.ServiceSeen(Over(3), At("10.0.0.5"));
    told->Take();
    directory.ServiceSeen(Over(2), At("192.168.1.5"));
    EXPECT_THAT(told->Take(), IsEmpty()) << "a lower interface is no better";
    directory.ServiceGone(Over(3));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 192.168.1.5:9001 Studio"));
}

TEST_F(PhoneDirectoryTest, ReportsAnotherAddressPortOrName) {
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    directory.ServiceSeen(Over(2), At("10.0.0.6"));
    directory.ServiceSeen(Over(2), {"PHONE", "phone.local", "10.0.0.6", 9002});
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.5:9001 Studio", "+PHONE 10.0.0.6:9001 Studio",
                                          "+PHONE 10.0.0.6:9002 Studio"));
    directory.ServiceSeen(Over(2, false, "Stage"), {"PHONE", "phone.local", "10.0.0.6", 9002});
    directory.ServiceGone(Over(2));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.6:9002 Stage"));
}

TEST_F(PhoneDirectoryTest, TellsPhonesApartByTheirIdentifier) {
    directory.ServiceSeen(Over(2, false, "One"), At("10.0.0.5", "FIRST"));
    directory.ServiceSeen(Over(2, false, "Two"), At("10.0.0.5", "SECOND"));
    EXPECT_THAT(told->Take(), ElementsAre("+FIRST 10.0.0.5:9001 One", "+SECOND 10.0.0.5:9001 Two"));
    directory.ServiceGone(Over(2, false, "One"));
    EXPECT_THAT(told->Take(), ElementsAre("-FIRST"));
}

TEST_F(PhoneDirectoryTest, AServiceThatBecomesAnotherPhoneLosesTheFirst) {
    directory.ServiceSeen(Over(2), At("10.0.0.5", "FIRST"));
    told->Take();
    directory.ServiceSeen(Over(2), At("10.0.0.5", "SECOND"));
    EXPECT_THAT(told->Take(), ElementsAre("-FIRST", "+SECOND 10.0.0.5:9001 Studio"));
}

TEST_F(PhoneDirectoryTest, PassesOverAServiceThatNamesNoPhone) {
    directory.ServiceSeen(Over(2, false, "odd\nname"), At("10.0.0.5", ""));
    EXPECT_THAT(told->Take(), IsEmpty());
    EXPECT_THAT(trace, ElementsAre("halyard: the service 'odd name' on 'phone.local' names no phone\n"));
    directory.ServiceGone(Over(2, false, "odd\nname"));
    EXPECT_THAT(told->Take(), IsEmpty());
}

TEST_F(PhoneDirectoryTest, AServiceThatNoLongerNamesItsPhoneIsLost) {
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    told->Take();
    directory.ServiceSeen(Over(2), At("10.0.0.5", ""));
    EXPECT_THAT(told->Take(), ElementsAre("-PHONE"));
}

TEST_F(PhoneDirectoryTest, PhonesOutliveAFailureAndMustBeSeenAgainAfterIt) {
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    told->Take();
    directory.BrowsingFailed("Daemon not running");
    EXPECT_THAT(told->Take(), IsEmpty());
    directory.BrowsingBegan();
    EXPECT_THAT(told->Take(), ElementsAre("-PHONE")) << "the listener's grace begins";
    directory.ServiceSeen(Over(2), At("10.0.0.5"));
    EXPECT_THAT(told->Take(), ElementsAre("+PHONE 10.0.0.5:9001 Studio"));
    directory.BrowsingBegan();
    directory.BrowsingBegan();
    EXPECT_THAT(told->Take(), ElementsAre("-PHONE"));
}

TEST_F(PhoneDirectoryTest, TellsTheOperatorOnceForEachFailure) {
    EXPECT_THAT(OperatorTexts(), IsEmpty()) << "nothing to say as long as all is well";
    directory.BrowsingFailed("Daemon not running");
    directory.BrowsingFailed("something else");
    EXPECT_THAT(OperatorTexts(), ElementsAre("1 Phones in the network are not found for now, because the "
                                             "Avahi daemon cannot be used (Daemon not running)."));
    directory.BrowsingBegan();
    directory.BrowsingBegan();
    directory.BrowsingFailed("again");
    EXPECT_THAT(OperatorTexts(),
                ElementsAre(testing::_, "0 Phones in the network are found again.", HasSubstr("(again)")));
}

TEST_F(PhoneDirectoryTest, TellsNobodyWhenItsListenerIsGone) {
    PhoneDirectory orphan{std::make_shared<Told>()};
    orphan.ServiceSeen(Over(2), At("10.0.0.5"));
    orphan.ServiceGone(Over(2));
    EXPECT_THAT(told->Take(), IsEmpty());
}

}  // namespace
}  // namespace host_runtime
