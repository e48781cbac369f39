// A record that describes a picture or a block of sound. Keys:
//   "type" media type   "mwid" width   "mhei" height   "mcol" pixel format   "mbpr" bytes per row
//   "vidI" has a picture   "mdSQ" display width   "mdSH" display height
//   "msmr" sample rate   "mcha" channels   "mbps" bits per sample   "mcbu" channel buffers
#pragma once

#include "host/core/zRecord.h"
#include "host/media/mdMediaType.h"

class mdMediaRecord : public zRecord {
public:
    explicit mdMediaRecord(mdMediaType type);

    // Writes "mbpr" from "mwid" and "mcol": 4 bytes for two pixels of "2vuy" (odd widths round up),
    // 4 bytes a pixel otherwise.
    void SetBytesPerRowBasedOnFormat();
};
