// What the host must have pulled of the camera and microphone files that a browser was given.
#pragma once

#include "tests/e2e/browser/PulledMedia.h"
#include "tests/e2e/host/HostHarness.h"

namespace browser {

class CameraExpectations {
public:
    CameraExpectations(e2e::HostHarness& harness, const PulledMedia& pulled) : host(harness), media(pulled) {}

    // A browser begins with few bits and sharpens: waits until a picture is as good as asked.
    void SharpPictures() const;
    void CameraColours() const;
    void EveryFrame() const;
    void CleanTone() const;

private:
    e2e::HostHarness& host;
    const PulledMedia& media;
};

}  // namespace browser
