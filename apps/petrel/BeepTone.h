// Once a second a beep, over a steady quiet tone that shows that sound flows at all.
#pragma once

#include <vector>

#include "apps/petrel/MediaSource.h"

namespace petrel {

class BeepTone : public AudioSource {
public:
    BeepTone();
    // The beep begins at each whole second of media time, with the flash of the test picture.
    void NextBlock(std::int64_t firstFrame, std::int16_t* samples) override;

private:
    std::vector<std::int16_t> second;  // one second, after which everything repeats
};

}  // namespace petrel
