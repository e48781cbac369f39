// The host's interface to a plug-in that offers sources. Slot order is declaration order; all
// operations run on the main thread.
#pragma once

#include <cstdint>
#include <list>
#include <memory>

#include "host/core/xCUnknown.h"
#include "host/core/zRecord.h"
#include "host/media/mdMediaRecord.h"
#include "host/renderer/nxSourceDescription.h"
#include "host/renderer/nxSourceTypeInfo.h"

class nxBufferGroup2;
class nxRenderer2;

class nxRendererFactory2 : public xCUnknown {
public:
    nxRendererFactory2();
    ~nxRendererFactory2() override;

    virtual void GetSourceTypeInfo(nxSourceTypeInfo& info) = 0;
    virtual bool OffersSources() = 0;

    // Activates a new or restored source, or looks at the settings of an active one again.
    // kStatusFailed when no entry could be made.
    virtual zStatus ActivateSource(const char* sourceIdentifier, zRecord& settings) = 0;
    virtual void SourceNotification(const char* sourceIdentifier) = 0;

    // Hands `argument` (a tally state: 1 and 2 on air, 4 and 5 off air) to the source's session.
    virtual void ForwardToSession(const char* sourceIdentifier, std::uint32_t argument) = 0;

    // Makes a source with a fresh identifier; fills `description` and writes the settings' first values.
    virtual void NewSource(nxSourceDescription& description, zRecord& settings) = 0;
    virtual void ConnectDirect(const char* sourceIdentifier, zRecord& settings) = 0;

    // The picture ("vido") or sound ("audo") object of an activated source; empty for any other media
    // type and for an unknown source. `bufferGroup` must not be null; the first one given is kept.
    virtual void CreateRenderer(std::shared_ptr<nxRenderer2>& result, const char* sourceIdentifier,
                                mdMediaType mediaType, nxBufferGroup2* bufferGroup) = 0;

    // Drops the reference that the host passes in.
    virtual void ReleaseNotification(std::shared_ptr<zObject> object);

    // Queries about features that a source plug-in may have; the answers of one that has none.
    virtual std::int32_t PresetCount() { return 0; }
    virtual std::uint32_t CurrentPreset() { return 0xFFFFFFFFU; }
    virtual std::int32_t InputCount() { return 0; }
    virtual std::uint32_t CurrentInput() { return 0xFFFFFFFFU; }
    virtual bool NeedsLicense() { return false; }
    virtual std::int32_t LatencyFrames() { return 0; }
    virtual bool IsOffline() { return false; }

private:
    std::list<std::shared_ptr<zObject>> attachedObjects;
    std::list<std::shared_ptr<zObject>> pendingObjects;
};
