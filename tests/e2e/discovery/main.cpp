#include "tests/e2e/discovery/OwnNamespace.h"
#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    e2e::EnterOwnNamespace();
    return tests::RunAllTests(argc, argv, {});
}
