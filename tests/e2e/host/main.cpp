#include <malloc.h>

#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Host.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    // Memory that threads leave behind in arenas of their own would hide what is really kept.
    mallopt(M_ARENA_MAX, 1);
    return tests::RunAllTests(argc, argv,
                              {{"Host", host_runtime::Host::Alive},
                               {"SourceRegistry", host_runtime::SourceRegistry::Alive},
                               {"SourcePanel", host_runtime::SourcePanel::Alive},
                               {"SourceList", host_runtime::SourceList::Alive},
                               {"Source", host_runtime::Source::Alive},
                               {"SourcePuller", host_runtime::SourcePuller::Alive},
                               {"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
