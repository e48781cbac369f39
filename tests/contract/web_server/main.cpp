#include "tests/fakes/TestMain.h"
#include "web_server/ServerConnection.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, {{"ServerConnection", &web_server::ServerConnection::Alive}});
}
