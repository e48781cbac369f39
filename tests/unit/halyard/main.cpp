#include "apps/halyard/ServedPhones.h"
#include "host_runtime/media/BufferGroup.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"ServedPhones", halyard::ServedPhones::Alive},
                               {"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
