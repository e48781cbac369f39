#include "tests/fakes/TestMain.h"
#include "web_server/HttpsConnection.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, {{"HttpsConnection", &web_server::HttpsConnection::Alive}});
}
