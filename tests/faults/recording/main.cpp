// Decodes a recording to its end and says what is in it.
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tests/e2e/host/RecordedFile.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const e2e::RecordedFile recorded = e2e::Decode(argv[1]);
    constexpr double kRate = 48'000;
    double pictureSeconds = 0;
    if (!recorded.pictures.empty()) {
        const auto last = recorded.pictures.back().timeUs - recorded.pictures.front().timeUs;
        pictureSeconds = static_cast<double>(last) / 1e6;
    }
    const auto stamped = std::count_if(recorded.pictures.begin(), recorded.pictures.end(),
                                       [](const e2e::RecordedPicture& picture) { return picture.stamp; });
    std::set<std::string> sizes;
    for (const e2e::RecordedPicture& picture : recorded.pictures)
        sizes.insert(std::to_string(picture.width) + "x" + std::to_string(picture.height));
    std::cout << nlohmann::json({{"problem", recorded.problem},
                                 {"pictures", recorded.pictures.size()},
                                 {"stampedPictures", stamped},
                                 {"sizes", sizes},
                                 {"pictureSeconds", pictureSeconds},
                                 {"soundSeconds", static_cast<double>(recorded.left.size()) / kRate}})
                     .dump()
              << "\n";
    return 0;
}
