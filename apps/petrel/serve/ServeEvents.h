// What `petrel serve --events` writes for the program that runs it: one JSON object a line, whose "event"
// says what happened.
#pragma once

#include <string>
#include <vector>

#include "apps/petrel/ServiceAnnouncer.h"

namespace petrel {

struct ServerPlaces {
    std::vector<std::string> urls;  // of the camera page, the best one first
    std::string operatorPage;
    std::string fingerprint;  // of the authority; empty without one
};

// "ready", once; nothing comes before it but "failed".
std::string ReadyEvent(const ServerPlaces& places);
// "code": the next phone's, after "ready" and with every new one or when the URL changes; "qr" is the URL's
// picture for a terminal.
std::string CodeEvent(const std::string& code, const std::string& pairingUrl);
// "opened": hosts reach this phone from now on, or under another name.
std::string OpenedEvent(const AnnouncedPhone& phone);
// "closed": its page has gone away.
std::string ClosedEvent(const std::string& address);
// "failed": the server cannot start, for the reason in one sentence, and ends.
std::string FailedEvent(const std::string& sentence);

}  // namespace petrel
