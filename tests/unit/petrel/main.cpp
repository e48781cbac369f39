#include <gst/gst.h>

#include "apps/petrel/PhoneClient.h"
#include "apps/petrel/SharedEncoder.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    return tests::RunAllTests(argc, argv,
                              {{"PhoneClient", &petrel::PhoneClient::Alive},
                               {"PeerMedia", &petrel::PeerMedia::Alive},
                               {"SharedEncoder", &petrel::SharedEncoder::Alive}});
}
