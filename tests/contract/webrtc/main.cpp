#include "tests/contract/webrtc/LeakCounts.h"

int main(int argc, char** argv) {
    return tests::RunAllTests(argc, argv, contract::LeakCounts());
}
