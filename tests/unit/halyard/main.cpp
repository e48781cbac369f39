#include "host_runtime/media/BufferGroup.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
