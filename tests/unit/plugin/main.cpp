#include "tests/unit/plugin/FactoryTest.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, tests::FactoryLivingCounts());
}
