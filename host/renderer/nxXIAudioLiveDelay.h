#pragma once

#include <cstdint>

#include "host/core/xIUnknown.h"

// Values that the host stores with a sound source and reads back. All operations [any-thread].
class nxXIAudioLiveDelay : public xIUnknown {
public:
    virtual void SetLiveDelay(double delay) = 0;
    virtual double GetLiveDelay() = 0;
    virtual bool HandlesLiveDelay() { return true; }
    virtual void SetLiveDelayWord(std::uint32_t word) = 0;
    virtual std::uint32_t GetLiveDelayWord() = 0;
    virtual void SetRamsValue(std::uint32_t value) = 0;
    virtual std::uint32_t GetRamsValue() = 0;
    // `index` is 0 to 3.
    virtual void SetCbsValue(std::int32_t index, std::uint64_t value) = 0;
};
