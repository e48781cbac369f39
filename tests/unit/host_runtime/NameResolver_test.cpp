#include "host_runtime/core/NameResolver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/core/zSocket.h"
#include "host/core/zString.h"

namespace host_runtime {
namespace {

using std::chrono::milliseconds;

// A system resolver that answers when the test lets it.
class Gate {
public:
    std::optional<std::string> Pass() {
        ++calls;
        opened.get_future().wait();
        return "10.0.0.1";
    }
    std::promise<void> opened;
    std::atomic<int> calls{0};
};

NameResolver::Limits Patient() {
    NameResolver::Limits limits;
    limits.timeout = milliseconds(30'000);
    return limits;
}

TEST(NameResolver, AnswersAndRemembers) {
    std::atomic<int> calls{0};
    NameResolver resolver(
        [&calls](const std::string& name) {
            ++calls;
            return std::optional<std::string>("addr of " + name);
        },
        Patient());
    EXPECT_EQ(resolver.Lookup("phone"), "addr of phone");
    EXPECT_EQ(resolver.Lookup("phone"), "addr of phone");
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(resolver.Lookup("other"), "addr of other");
}

TEST(NameResolver, RemembersThatANameIsMissing) {
    std::atomic<int> calls{0};
    NameResolver resolver(
        [&calls](const std::string&) -> std::optional<std::string> {
            ++calls;
            return std::nullopt;
        },
        Patient());
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    EXPECT_EQ(calls.load(), 1);
}

TEST(NameResolver, AsksAgainWhenAnAnswerIsOutOfDate) {
    std::atomic<int> calls{0};
    NameResolver::Limits limits = Patient();
    limits.keepFound = milliseconds(0);
    NameResolver resolver([&calls](const std::string&) { return std::optional(std::to_string(++calls)); },
                          limits);
    EXPECT_EQ(resolver.Lookup("phone"), "1");
    EXPECT_EQ(resolver.Lookup("phone"), "2");
}

TEST(NameResolver, KeepsABoundedNumberOfNames) {
    std::atomic<int> calls{0};
    NameResolver::Limits limits = Patient();
    limits.cachedNames = 2;
    NameResolver resolver([&calls](const std::string&) { return std::optional(std::to_string(++calls)); },
                          limits);
    EXPECT_EQ(resolver.Lookup("a"), "1");
    EXPECT_EQ(resolver.Lookup("b"), "2");
    EXPECT_EQ(resolver.Lookup("c"), "3");
    EXPECT_EQ(resolver.Lookup("c"), "3");
    EXPECT_EQ(resolver.Lookup("a"), "4") << "the oldest answer made room";
}

TEST(NameResolver, StopsWaitingAfterItsTime) {
    const auto gate = std::make_shared<Gate>();
    NameResolver::Limits limits;
    limits.timeout = milliseconds(20);
    NameResolver resolver([gate](const std::string&) { return gate->Pass(); }, limits);
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    EXPECT_LE(gate->calls.load(), 1) << "the look-up that runs is not doubled";
    gate->opened.set_value();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::optional<std::string> late;
    while (!late && std::chrono::steady_clock::now() < deadline) {
        late = resolver.Lookup("phone");
        std::this_thread::yield();
    }
    EXPECT_EQ(late, "10.0.0.1") << "its late answer is kept";
}

TEST(NameResolver, CallersOfOneNameShareOneLookup) {
    const auto gate = std::make_shared<Gate>();
    NameResolver resolver([gate](const std::string&) { return gate->Pass(); }, Patient());
    std::vector<std::future<std::optional<std::string>>> answers;
    for (int caller = 0; caller < 4; ++caller)
        answers.push_back(std::async(std::launch::async, [&resolver] { return resolver.Lookup("phone"); }));
    gate->opened.set_value();
    for (auto& answer : answers)
        EXPECT_EQ(answer.get(), "10.0.0.1");
    EXPECT_EQ(gate->calls.load(), 1);
}

TEST(NameResolver, RefusesMoreLookupsThanMayRun) {
    const auto gate = std::make_shared<Gate>();
    NameResolver::Limits limits;
    limits.timeout = milliseconds(1);
    limits.runningLookups = 1;
    NameResolver resolver([gate](const std::string&) { return gate->Pass(); }, limits);
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    EXPECT_EQ(resolver.Lookup("other"), std::nullopt);
    EXPECT_LE(gate->calls.load(), 1);
    gate->opened.set_value();
}

TEST(NameResolver, MayEndWhileALookupRuns) {
    const auto gate = std::make_shared<Gate>();
    {
        NameResolver::Limits limits;
        limits.timeout = milliseconds(1);
        NameResolver resolver([gate](const std::string&) { return gate->Pass(); }, limits);
        EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
    }
    gate->opened.set_value();
}

TEST(NameResolver, AFailingSystemIsNoAnswer) {
    NameResolver resolver(
        [](const std::string&) -> std::optional<std::string> { throw std::runtime_error("no"); }, Patient());
    EXPECT_EQ(resolver.Lookup("phone"), std::nullopt);
}

TEST(DnsLookup, LiteralsAreTheirOwnAddress) {
    for (const char* literal : {"192.168.1.20", "127.0.0.1", "::1", "fe80::1"}) {
        zString address;
        EXPECT_TRUE(zSocket::DNSLookup(literal, address)) << literal;
        EXPECT_STREQ(address.Text(), literal);
    }
    zString address;
    EXPECT_TRUE(zSocket::DNSLookup("0:0:0:0:0:0:0:1", address));
    EXPECT_STREQ(address.Text(), "::1");
}

TEST(DnsLookup, FindsThisMachine) {
    zString address;
    ASSERT_TRUE(zSocket::DNSLookup("localhost", address));
    EXPECT_TRUE(address.ToStdString() == "::1" || address.ToStdString().rfind("127.", 0) == 0)
        << address.Text();
}

TEST(DnsLookup, NoNameHasNoAddress) {
    const std::string overlong(254, 'a');
    for (const char* name : {"", static_cast<const char*>(nullptr), overlong.c_str()}) {
        zString address("before");
        EXPECT_FALSE(zSocket::DNSLookup(name, address));
        EXPECT_EQ(address.ToStdString(), "");
    }
}

}  // namespace
}  // namespace host_runtime
