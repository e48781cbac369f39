#include "host_runtime/media/BufferGroup.h"
#include "host_runtime/sources/Host.h"
#include "tests/fakes/TestMain.h"
#include "tests/fakes/plugin/FakeFactory.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv,
                              {{"FakeFactory", fakes::FakeFactory::Alive},
                               {"Host", host_runtime::Host::Alive},
                               {"SourceRegistry", host_runtime::SourceRegistry::Alive},
                               {"SourcePanel", host_runtime::SourcePanel::Alive},
                               {"SourceList", host_runtime::SourceList::Alive},
                               {"PhoneDirectory", host_runtime::PhoneDirectory::Alive},
                               {"Source", host_runtime::Source::Alive},
                               {"SourcePuller", host_runtime::SourcePuller::Alive},
                               {"BufferGroup", host_runtime::BufferGroup::Alive},
                               {"buffers", host_runtime::BufferGroup::BuffersAlive}});
}
