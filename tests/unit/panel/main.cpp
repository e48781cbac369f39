#include "panel/nxKestrelGlass.h"
#include "tests/unit/plugin/FactoryTest.h"

int main(int argc, char** argv) {
    auto counts = tests::FactoryLivingCounts();
    counts.push_back({"nxKestrelGlass", &nxKestrelGlass::Alive});
    return tests::RunAllTests(argc, argv, std::move(counts));
}
