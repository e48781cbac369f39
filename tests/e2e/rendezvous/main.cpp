#include "tests/e2e/rendezvous/LivingCounts.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, rendezvous::LivingCounts());
}
