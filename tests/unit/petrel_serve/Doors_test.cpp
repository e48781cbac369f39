// What is served to whom: hosts, origins, paths, the operator.
#include "tests/unit/petrel_serve/HubFixture.h"

namespace tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class Doors : public HubFixture {};

TEST_F(Doors, AreClosedToForeignNamesAndOrigins) {
    const std::string cookie = Pair("Anna");
    EXPECT_EQ(Do("GET", "/api/me", {{"host", "evil.example:9443"}, {"cookie", "petrel=" + cookie}})->Error(),
              "wrong-origin");
    EXPECT_EQ(
        Do("GET", "/api/events?tab=a", {{"host", "evil.example"}, {"cookie", "petrel=" + cookie}})->Status(),
        403);
    EXPECT_EQ(Do("GET", "/api/events?tab=a",
                 {{"host", "192.0.2.1"}, {"cookie", "petrel=" + cookie}, {"sec-fetch-site", "cross-site"}})
                  ->Status(),
              403);
    EXPECT_EQ(Do("POST", "/api/name",
                 {{"host", "192.0.2.1"},
                  {"origin", "https://evil.example"},
                  {"content-type", "application/json"},
                  {"cookie", "petrel=" + cookie}},
                 R"({"name":"x"})")
                  ->Status(),
              403);
    EXPECT_EQ(Do("PUT", "/", {{"host", "192.0.2.1"}})->Status(), 405);
}

TEST_F(Doors, AreWatched) {
    Get("/api/me");  // a page that looks whether it is known
    Get("/nothing");
    Get("/api/events?tab=a");
    Post("/api/pair", {{"code", "AAAA-AAAA"}, {"name", "Anna"}});
    Do("GET", "/" + std::string(1000, 'x'), {{"host", "evil.example"}});
    EXPECT_THAT(refusals,
                testing::ElementsAre("192.0.2.50 401 GET /api/events", "192.0.2.50 403 POST /api/pair",
                                     "192.0.2.50 403 GET /" + std::string(59, 'x')));
}

TEST_F(Doors, LeadToEmbeddedFilesOnly) {
    for (const char* path :
         {"/../etc/passwd", "/page/../../etc/passwd", "/page/%2e%2e/%2e%2e/etc/passwd", "/page", "/page/",
          "/page//camera.js", "/page/./x.js", "/index.html", "/authority.key", "/server.key", "/phones.json",
          "/page/package.json", "/.", "/page/\\..\\x", "/api", "/page/%00"}) {
        EXPECT_EQ(Get(path)->Status(), 404) << path;
    }
}

TEST_F(Doors, ShowTheOperatorsPageToThisMachineAndTheTokenAlone) {
    const std::string code = hub->Code();
    EXPECT_EQ(Get("/api/operator")->Error(), "not-operator");
    EXPECT_EQ(Get("/operator")->Status(), 403);
    EXPECT_EQ(Get("/api/operator?operatorToken=wrong")->Status(), 403);
    EXPECT_EQ(Get("/api/operator?operatorToken=")->Status(), 403);
    EXPECT_EQ(Post("/api/operator/code", json::object())->Status(), 403);
    EXPECT_EQ(Post("/api/operator/revoke", {{"identifier", "x"}})->Status(), 403);
    EXPECT_EQ(hub->Code(), code);
    EXPECT_EQ(Get("/api/operator?operatorToken=token-of-the-operator")->Status(), 200);
    EXPECT_EQ(Get("/api/operator?token=token-of-the-operator")->Status(), 200);
    fromThisMachine = true;
    EXPECT_EQ(Get("/api/operator")->Status(), 200);
}

TEST_F(Doors, TellTheOperatorEverythingNeeded) {
    fromThisMachine = true;
    const std::string cookie = Pair("Anna");
    OpenPage(cookie);
    const auto host = Dial("127.0.1.1");
    Post("/api/state",
         {{"battery", 0.5},
          {"charging", nullptr},
          {"encoderLoad", 1.2},
          {"width", 1280},
          {"codec", "H264"},
          {"camera", true}},
         cookie);
    const json data = Get("/api/operator")->Json();
    EXPECT_EQ(data["code"], hub->Code());
    EXPECT_EQ(data["url"], "https://192.0.2.1:9443/");
    EXPECT_EQ(data["pairUrl"], "https://192.0.2.1:9443/#pair=" + hub->Code());
    EXPECT_EQ(data["expiresInSeconds"], 600);
    EXPECT_THAT(data["qrSvg"].get<std::string>(), StartsWith("<svg "));
    ASSERT_EQ(data["phones"].size(), 1U);
    const json& phone = data["phones"][0];
    EXPECT_EQ(phone["name"], "Anna");
    EXPECT_EQ(phone["online"], true);
    EXPECT_EQ(phone["onAir"], false);
    EXPECT_EQ(phone["viewers"], json({"Halyard"}));
    EXPECT_EQ(phone["state"], json({{"battery", 0.5},
                                    {"encoderLoad", 1.2},
                                    {"width", 1280.0},
                                    {"codec", "H264"},
                                    {"camera", true}}));
    EXPECT_FALSE(phone.contains("secretDigest"));
}

TEST_F(Doors, LetTheOperatorMakeACodeAndRevokeAPhone) {
    fromThisMachine = true;
    const std::string cookie = Pair("Anna");
    const std::string code = hub->Code();
    EXPECT_EQ(Post("/api/operator/code", json::object())->Json()["code"], hub->Code());
    EXPECT_NE(hub->Code(), code);
    const std::string identifier = Get("/api/me", cookie)->Json()["phone"]["identifier"];
    EXPECT_EQ(Post("/api/operator/revoke", {{"identifier", "nobody"}})->Status(), 404);
    EXPECT_EQ(PostText("/api/operator/revoke", "nonsense")->Status(), 404);
    const auto revoked = Post("/api/operator/revoke", {{"identifier", identifier}});
    EXPECT_EQ(revoked->Status(), 200);
    EXPECT_EQ(revoked->Field("Set-Cookie"), "");
    EXPECT_EQ(Get("/api/me", cookie)->Status(), 401);
    EXPECT_EQ(Get("/api/operator/code")->Status(), 404);
}

TEST_F(Doors, TakeNoStateThatIsNone) {
    const std::string cookie = Pair("Anna");
    for (const json& state : {json{{"battery", 2}}, json{{"battery", "full"}}, json{{"charging", 1}},
                              json{{"codec", std::string(100, 'x')}}, json{{"width", -1}}}) {
        EXPECT_EQ(Post("/api/state", state, cookie)->Status(), 400) << state;
    }
    EXPECT_EQ(Post("/api/state", json::object(), cookie)->Status(), 200);
}

TEST_F(Doors, KnowWhichMethodsFitWhichPath) {
    const std::string cookie = Pair("Anna");
    EXPECT_EQ(Post("/api/me", json::object(), cookie)->Status(), 405);
    EXPECT_EQ(Post("/api/events", json::object(), cookie)->Field("Allow"), "GET");
    EXPECT_EQ(Get("/api/answer", cookie)->Field("Allow"), "POST");
    EXPECT_EQ(Post("/", json::object(), cookie)->Status(), 405);
    EXPECT_EQ(Get("/api/unknown", cookie)->Status(), 404);
}

TEST_F(Doors, HaveABodyLimitPerPath) {
    EXPECT_EQ(petrel::Hub::BodyLimit("/api/answer"), 262144U);
    EXPECT_EQ(petrel::Hub::BodyLimit("/api/pair"), 16384U);
}

}  // namespace
}  // namespace tests
