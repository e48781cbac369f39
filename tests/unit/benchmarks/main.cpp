#include "tests/fakes/TestMain.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, {});
}
