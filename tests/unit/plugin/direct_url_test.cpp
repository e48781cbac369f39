#include "plugin/direct_url.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char* address;
    const char* url;
};

void ExpectAll(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(DirectUrl(row.address), row.url) << row.address;
}

TEST(DirectUrl, LeadsToPort9001) {
    ExpectAll({{"192.168.1.20", "ws://192.168.1.20:9001/"},
               {"192.168.1.20:5000", "ws://192.168.1.20:9001/"},
               {"ws://192.168.1.20/", "ws://192.168.1.20:9001/"},
               {"ws://192.168.1.20:9001/", "ws://192.168.1.20:9001/"},
               {"phone.local", "ws://phone.local:9001/"}});
}

TEST(DirectUrl, DropsPortAndPath) {
    ExpectAll({{"ws://host:1234/path", "ws://host:9001/"}, {"host:1234/path", "ws://host:9001/"}});
}

TEST(DirectUrl, KeepsAPathWithoutPort) {
    ExpectAll({{"1.2.3.4/path", "ws://1.2.3.4/path:9001/"}, {"1.2.3.4//", "ws://1.2.3.4/:9001/"}});
}

TEST(DirectUrl, KnowsOneSchemeInOneLetterCase) {
    ExpectAll({{"WS://192.168.1.20", "ws://WS:9001/"},
               {"http://1.2.3.4", "ws://http:9001/"},
               {"wss://h", "ws://wss:9001/"}});
}

TEST(DirectUrl, CutsAnAddressOfVersion6AtItsFirstColon) {
    ExpectAll({{"fe80::1", "ws://fe80:9001/"}, {"[fe80::1]", "ws://[fe80:9001/"}, {"::1", "ws:/:9001/"}});
}

TEST(DirectUrl, MendsNothing) {
    ExpectAll({{" 1.2.3.4 ", "ws:// 1.2.3.4 :9001/"},
               {"", "ws:/:9001/"},
               {":9001", "ws:/:9001/"},
               {"/", "ws://:9001/"},
               {"ws://", "ws:/:9001/"}});
}

}  // namespace
