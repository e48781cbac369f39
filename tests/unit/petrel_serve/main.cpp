#include "apps/petrel/serve/LivePhone.h"
#include "tests/fakes/TestMain.h"
#include "web_server/HttpsConnection.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(
        argc, argv,
        {{"LivePhone", &petrel::LivePhone::Alive}, {"HttpsConnection", &web_server::HttpsConnection::Alive}});
}
