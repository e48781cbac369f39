// Who comes in, who is kept out, and how long a phone is remembered.
#include "apps/petrel/serve/Secrets.h"
#include "tests/unit/petrel_serve/HubFixture.h"

namespace tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using namespace std::chrono_literals;

class Pairing : public HubFixture {
protected:
    std::shared_ptr<FakeExchange> Try(const std::string& code, const std::string& name = "Anna") {
        return Post("/api/pair", {{"code", code}, {"name", name}});
    }
};

TEST_F(Pairing, GivesAPhoneASecretThatOnlyItKnows) {
    const auto paired = Try(hub->Code(), "Anna's phone");
    ASSERT_EQ(paired->Status(), 200);
    EXPECT_EQ(paired->Json()["phone"]["name"], "Anna's phone");
    const std::string cookie = paired->Field("Set-Cookie");
    EXPECT_THAT(cookie,
                MatchesRegex("petrel=[A-Za-z0-9_-]{43}; Path=/; Secure; HttpOnly; SameSite=Strict; .*"));
    const std::string secret = cookie.substr(7, 43);
    const std::string file = temporary.ReadState("phones.json");
    EXPECT_EQ(file.find(secret), std::string::npos);
    EXPECT_THAT(file, HasSubstr(petrel::DigestOf(secret)));
    EXPECT_EQ(Get("/api/me", secret)->Json()["phone"], paired->Json()["phone"]);
}

TEST_F(Pairing, IsRememberedByTheNextServer) {
    const std::string cookie = Pair("Anna");
    const json before = Get("/api/me", cookie)->Json();
    MakeHub();
    EXPECT_EQ(Get("/api/me", cookie)->Json(), before);
}

TEST_F(Pairing, RefusesAWrongAUsedAndAnExpiredCodeInOneSentenceEach) {
    const std::string first = hub->Code();
    EXPECT_EQ(Try("AAAA-AAAA")->Error(), "wrong-code");
    Pair("Anna");
    const auto used = Try(first);
    EXPECT_EQ(used->Status(), 403);
    EXPECT_EQ(used->Error(), "used-code");
    EXPECT_THAT(used->Json()["sentence"].get<std::string>(), MatchesRegex("[A-Z][^.]*\\."));
    const std::string second = hub->Code();
    Advance(11min);
    EXPECT_EQ(Try(second)->Error(), "expired-code");
    EXPECT_EQ(Try(hub->Code())->Status(), 200);
    EXPECT_EQ(newCodes, 3);  // used, expired, used
}

TEST_F(Pairing, SlowsGuessingAlsoForTheRightCode) {
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Try("AAAA-AAAA")->Status(), 403);
    const auto slowed = Try(hub->Code());
    EXPECT_EQ(slowed->Status(), 429);
    EXPECT_EQ(slowed->Error(), "slow-down");
    EXPECT_EQ(slowed->Field("Retry-After"), "1");
    remoteAddress = "192.0.2.51";
    EXPECT_EQ(Try("AAAA-AAAA")->Status(), 403);
    remoteAddress = "192.0.2.50";
    now += 1s;
    EXPECT_EQ(Try(hub->Code())->Status(), 200);
    EXPECT_EQ(Try("AAAA-AAAA")->Status(), 403);  // and then it begins anew
}

TEST_F(Pairing, WantsANameThatCanBeShown) {
    const std::string code = hub->Code();
    for (const char* name : {"", "Halyard", "a\nb"}) {
        EXPECT_EQ(Try(code, name)->Error(), "bad-name");
    }
    EXPECT_EQ(Try(code, std::string(61, 'x'))->Status(), 400);
    EXPECT_EQ(hub->Code(), code);
}

TEST_F(Pairing, UnderstandsOnlyWhatItAsksFor) {
    for (const char* body :
         {"", "[]", "{}", R"({"code":1,"name":"a"})", R"({"code":"a"})", R"({"name":"a"})", "{\"code\":"}) {
        const auto refused = PostText("/api/pair", body);
        EXPECT_EQ(refused->Status(), 400) << body;
        EXPECT_EQ(refused->Error(), "malformed");
    }
    EXPECT_EQ(Get("/api/pair")->Status(), 405);
}

TEST_F(Pairing, GivesEachPhoneItsOwnNameAndAddress) {
    Pair("Phone");
    Pair("Phone");
    const std::string third = Pair("Phone");
    EXPECT_EQ(Get("/api/me", third)->Json()["phone"]["name"], "Phone 3");
    const json phones = json::parse(temporary.ReadState("phones.json"))["phones"];
    EXPECT_EQ(phones[0]["address"], "127.0.1.1");
    EXPECT_EQ(phones[2]["address"], "127.0.1.3");
    EXPECT_NE(phones[0]["identifier"], phones[1]["identifier"]);
}

TEST_F(Pairing, KeepsWhoScansAgain) {
    const std::string cookie = Pair("Anna");
    const auto again = Post("/api/pair", {{"code", hub->Code()}, {"name", "Anna B"}}, cookie);
    EXPECT_EQ(again->Status(), 200);
    EXPECT_EQ(again->Field("Set-Cookie"), "");
    EXPECT_EQ(Get("/api/me", cookie)->Json()["phone"]["name"], "Anna B");
    EXPECT_EQ(json::parse(temporary.ReadState("phones.json"))["phones"].size(), 1U);
    EXPECT_EQ(Post("/api/pair", {{"code", "AAAA-AAAA"}, {"name", "Anna"}}, cookie)->Status(), 403);
}

TEST_F(Pairing, EndsWhenNoAddressIsLeft) {
    MakeHub({"192.0.2.7"});
    Pair("Anna");
    const std::string code = hub->Code();
    const auto refused = Try(code, "Ben");
    EXPECT_EQ(refused->Status(), 503);
    EXPECT_EQ(refused->Error(), "no-address");
    EXPECT_EQ(hub->Code(), code);  // not used up
}

TEST_F(Pairing, LosesNothingWhenTheDiskCannotBeWritten) {
    const std::string cookie = Pair("Anna");
    const std::string code = hub->Code();
    std::filesystem::rename(temporary.Path() / "state", temporary.Path() / "moved");
    const auto refused = Try(code, "Ben");
    EXPECT_EQ(refused->Status(), 503);
    EXPECT_EQ(refused->Error(), "cannot-save");
    EXPECT_EQ(hub->Code(), code);
    std::filesystem::rename(temporary.Path() / "moved", temporary.Path() / "state");
    EXPECT_EQ(Get("/api/me", cookie)->Status(), 200);
    EXPECT_EQ(Try(code, "Ben")->Status(), 200);
}

TEST_F(Pairing, IsNeededForEverythingElse) {
    for (const char* path : {"/api/me", "/api/events?tab=a", "/api/unknown"})
        EXPECT_EQ(Get(path)->Status(), 401) << path;
    for (const char* path : {"/api/name", "/api/forget", "/api/answer", "/api/candidate", "/api/candidates",
                             "/api/state", "/api/renew", "/api/unknown"}) {
        EXPECT_EQ(Post(path, json::object())->Error(), "not-paired") << path;
    }
    const auto revoked = Get("/api/me", "a-secret-that-nobody-has");
    EXPECT_EQ(revoked->Status(), 401);
    EXPECT_THAT(revoked->Field("Set-Cookie"), HasSubstr("Max-Age=0"));
}

TEST_F(Pairing, IsUndoneByThePhoneItself) {
    const std::string cookie = Pair("Anna");
    const auto stream = OpenPage(cookie);
    const auto forgotten = Post("/api/forget", json::object(), cookie);
    EXPECT_EQ(forgotten->Status(), 200);
    EXPECT_THAT(forgotten->Field("Set-Cookie"), HasSubstr("Max-Age=0"));
    EXPECT_EQ(stream->Names().back(), "revoked");
    EXPECT_TRUE(stream->ended);
    EXPECT_EQ(Get("/api/me", cookie)->Status(), 401);
}

TEST_F(Pairing, IsUndoneByAnotherProcessAtOnce) {
    const std::string anna = Pair("Anna");
    const std::string ben = Pair("Ben");
    const auto annas = OpenPage(anna);
    const auto bens = OpenPage(ben);
    std::string error;
    auto book = petrel::PhoneBook::Open(temporary.State(), error);
    ASSERT_TRUE(book->Update(
        [](std::vector<petrel::PairedPhone>& phones) {
            std::erase_if(phones, [](const petrel::PairedPhone& phone) { return phone.name == "Anna"; });
        },
        error));
    hub->Tick();
    EXPECT_EQ(annas->Names().back(), "revoked");
    EXPECT_TRUE(annas->ended);
    EXPECT_FALSE(bens->ended);
    EXPECT_EQ(Get("/api/me", anna)->Status(), 401);
    EXPECT_FALSE(IsListening("127.0.1.1"));
    EXPECT_TRUE(IsListening("127.0.1.2"));
}

TEST_F(Pairing, IsUndoneByAnotherProcessWhileThePageOpens) {
    const std::string anna = Pair("Anna");
    whileAnnouncing = [this] {
        std::string error;
        auto book = petrel::PhoneBook::Open(temporary.State(), error);
        book->Update([](std::vector<petrel::PairedPhone>& phones) { phones.clear(); }, error);
    };
    const auto page = OpenPage(anna);
    hub->Tick();
    EXPECT_EQ(page->Names().back(), "revoked");
    EXPECT_TRUE(page->ended);
    EXPECT_FALSE(IsListening("127.0.1.1"));
}

TEST_F(Pairing, ChangesAPhonesName) {
    const std::string cookie = Pair("Anna");
    Pair("Ben");
    EXPECT_EQ(Post("/api/name", {{"name", "Ben"}}, cookie)->Json()["phone"]["name"], "Ben 2");
    EXPECT_EQ(Post("/api/name", {{"name", "Ben 2"}}, cookie)->Json()["phone"]["name"], "Ben 2");
    EXPECT_EQ(Get("/api/me", cookie)->Json()["phone"]["name"], "Ben 2");
    EXPECT_EQ(Post("/api/name", {{"name", ""}}, cookie)->Error(), "bad-name");
    EXPECT_EQ(Post("/api/name", {{"name", 1}}, cookie)->Error(), "malformed");
}

}  // namespace
}  // namespace tests
