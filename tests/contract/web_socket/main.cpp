#include "host_runtime/network/WebSocketClient.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"WebSocketClient", &host_runtime::WebSocketClient::Alive},
                               {"WebSocketTransport", &host_runtime::WebSocketTransport::Alive}});
}
