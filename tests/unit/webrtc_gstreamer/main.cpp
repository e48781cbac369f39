#include "tests/fakes/TestMain.h"

// The rules are values and functions only: nothing of them can be left behind.
int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, {});
}
