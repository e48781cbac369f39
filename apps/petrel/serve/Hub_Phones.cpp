// Pairing, and what a paired phone's page asks for.
#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <charconv>
#include <nlohmann/json.hpp>
#include <utility>

#include "apps/petrel/Phone.h"
#include "apps/petrel/serve/Hub.h"
#include "apps/petrel/serve/JsonFields.h"
#include "apps/petrel/serve/RequestRules.h"
#include "apps/petrel/serve/Secrets.h"
#include "web_server/HttpText.h"

namespace petrel {
namespace {

using nlohmann::json;
using web_server::HttpAnswer;
using web_server::HttpRequest;
using web_server::Refused;

constexpr std::size_t kSecretBytes = 32;
constexpr std::size_t kLongestCode = 64;
constexpr std::size_t kLongestNameBytes = 240;
constexpr std::size_t kLongestDescription = std::size_t{256} << 10;
constexpr std::size_t kLongestCandidate = 1024;
constexpr std::size_t kLongestMid = 64;
constexpr int kLargestLineIndex = 1000;
constexpr std::size_t kMostCandidates = 64;
constexpr int kLargestNumber = 1'000'000'000;

HttpAnswer JsonAnswer(const json& object) {
    HttpAnswer answer;
    answer.contentType = "application/json";
    answer.body = object.dump(-1, ' ', false, json::error_handler_t::replace);
    answer.fields.emplace_back("Cache-Control", "no-store");
    return answer;
}

HttpAnswer Malformed() {
    return Refused(400, "malformed", "The request is not understood.");
}

HttpAnswer BadName(const std::string& problem) {
    const json refused = {{"error", "bad-name"}, {"sentence", problem}};
    HttpAnswer answer = JsonAnswer(refused);
    answer.status = 400;
    return answer;
}

json Described(const PairedPhone& phone) {
    return {{"identifier", phone.identifier}, {"name", phone.name}};
}

HttpAnswer Outcome(LivePhone::Passed passed) {
    switch (passed) {
        case LivePhone::Passed::NoSuchViewer:
            return Refused(404, "no-such-viewer", "That host has left.");
        case LivePhone::Passed::OlderOffer:
            return Refused(409, "older-offer", "That host has made another offer since.");
        case LivePhone::Passed::On:
            break;
    }
    return JsonAnswer(json::object());
}

// RFC 8839 section 5.1; without control characters.
bool IsCandidate(const std::string& text) {
    if (text.empty()) return true;  // the end of the candidates
    if (!text.starts_with("candidate:") || text.find(" typ ") == std::string::npos) return false;
    for (const char c : text)
        if (c < 0x20 || c >= 0x7F) return false;
    return true;
}

bool IsDescription(const std::string& text) {
    return text.starts_with("v=0\r\n") || text.starts_with("v=0\n");
}

std::optional<std::uint64_t> EventNumber(const HttpRequest& request) {
    std::string text = request.QueryValue("last").value_or("");
    if (text.empty()) text = request.Field("last-event-id");
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace

HttpAnswer Hub::Pair(const HttpRequest& request) {
    const Time now = surroundings.live.now();
    const std::chrono::seconds wait = limiter.WaitOf(request.remoteAddress, now);
    if (wait.count() > 0) {
        HttpAnswer refused = Refused(429, "slow-down", "Too many wrong codes: wait before the next try.");
        refused.fields.emplace_back("Retry-After", std::to_string(wait.count()));
        return refused;
    }
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    const std::string typed = fields->Text("code", kLongestCode);
    const std::string name = fields->Text("name", kLongestNameBytes);
    if (!fields->AllGood()) return Malformed();
    const std::string problem = ProblemOfName(name);
    if (!problem.empty()) return BadName(problem);

    const PairingCode::Verdict verdict = code.Check(typed, now);
    if (verdict != PairingCode::Verdict::Right) limiter.Failed(request.remoteAddress, now);
    switch (verdict) {
        case PairingCode::Verdict::Wrong:
            return Refused(403, "wrong-code", "That code is wrong.");
        case PairingCode::Verdict::Used:
            return Refused(403, "used-code", "That code was used already: each is good for one phone.");
        case PairingCode::Verdict::Expired:
            return Refused(403, "expired-code",
                           "That code is no longer valid: take the one that is shown now.");
        case PairingCode::Verdict::Right:
            break;
    }
    limiter.Succeeded(request.remoteAddress);
    RefreshBook();
    return PairAs(name, book.WithSecret(SecretOf(request)));
}

// A phone that is known, and scans again, stays who it is.
HttpAnswer Hub::PairAs(const std::string& name, const PairedPhone* known) {
    PairedPhone phone;
    std::string secret;
    if (known != nullptr) {
        phone = *known;
    } else {
        const std::optional<std::string> address = addresses.FirstFree(book.Phones());
        if (!address)
            return Refused(503, "no-address", "All addresses for phones are taken: revoke a phone first.");
        secret = RandomText(kSecretBytes);
        phone.identifier = RandomUuid();
        phone.address = *address;
        phone.secretDigest = DigestOf(secret);
        phone.pairedAt = surroundings.calendarTime();
        if (secret.empty() || phone.identifier.empty())
            return Refused(503, "cannot-save", "The server has no random numbers.");
    }
    phone.name = FreeName(name, phone.identifier);
    phone.lastSeen = surroundings.calendarTime();
    std::string error;
    const bool written = book.Update(
        [&phone](std::vector<PairedPhone>& phones) {
            std::erase_if(phones,
                          [&phone](const PairedPhone& old) { return old.identifier == phone.identifier; });
            phones.push_back(phone);
        },
        error);
    if (!written) {
        spdlog::error(error);
        return Refused(503, "cannot-save", "The server cannot remember the phone: its disk is not writable.");
    }
    spdlog::info("\"{}\" is paired, hosts reach it at {}", phone.name, phone.address);
    TellName(phone);
    code.Use(surroundings.live.now());
    if (surroundings.onNewCode) surroundings.onNewCode();
    HttpAnswer answer = JsonAnswer({{"phone", Described(phone)}});
    if (!secret.empty()) answer.fields.emplace_back("Set-Cookie", SecretCookie(secret));
    return answer;
}

HttpAnswer Hub::Me(const PairedPhone& phone) const {
    return JsonAnswer(
        {{"phone", Described(phone)}, {"server", {{"name", settings.serverName}, {"version", "0.1.0"}}}});
}

HttpAnswer Hub::Rename(const HttpRequest& request, const PairedPhone& phone) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    const std::string wanted = fields->Text("name", kLongestNameBytes);
    if (!fields->AllGood()) return Malformed();
    const std::string problem = ProblemOfName(wanted);
    if (!problem.empty()) return BadName(problem);
    const std::string name = FreeName(wanted, phone.identifier);
    std::string error;
    const bool written = book.Update(
        [&phone, &name](std::vector<PairedPhone>& phones) {
            for (PairedPhone& entry : phones)
                if (entry.identifier == phone.identifier) entry.name = name;
        },
        error);
    if (!written) {
        spdlog::error(error);
        return Refused(503, "cannot-save", "The server cannot remember the name: its disk is not writable.");
    }
    PairedPhone renamed = phone;
    renamed.name = name;
    TellName(renamed);
    return JsonAnswer({{"phone", Described(renamed)}});
}

// Hosts that look for phones hear of a new name at once; those that are joined, when they join again.
void Hub::TellName(const PairedPhone& phone) {
    const auto found = live.find(phone.identifier);
    if (found == live.end() || found->second->Identity().name == phone.name) return;
    found->second->Rename(phone.name);
    if (surroundings.announce)
        surroundings.announce({phone.name, phone.address, found->second->Port(), phone.identifier});
}

HttpAnswer Hub::Forget(const PairedPhone& phone) {
    std::string error;
    const bool written = book.Update(
        [&phone](std::vector<PairedPhone>& phones) {
            std::erase_if(phones,
                          [&phone](const PairedPhone& old) { return old.identifier == phone.identifier; });
        },
        error);
    if (!written) {
        spdlog::error(error);
        return Refused(503, "cannot-save", "The server cannot forget the phone: its disk is not writable.");
    }
    CloseRevoked();
    HttpAnswer answer = JsonAnswer(json::object());
    answer.fields.emplace_back("Set-Cookie", ClearedSecretCookie());
    return answer;
}

HttpAnswer Hub::TakeAnswer(const HttpRequest& request, LivePhone& phone) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    const int viewer = fields->Integer("viewer", 0, kLargestNumber).value_or(0);
    const std::optional<int> offer = fields->OptionalInteger("offer", 0, kLargestNumber);
    const std::string sdp = fields->Text("sdp", kLongestDescription);
    if (!fields->AllGood() || !IsDescription(sdp)) return Malformed();
    return Outcome(phone.PassAnswer(viewer, offer, sdp));
}

HttpAnswer Hub::TakeCandidates(const HttpRequest& request, LivePhone& phone, bool several) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    const int viewer = fields->Integer("viewer", 0, kLargestNumber).value_or(0);
    const std::optional<int> offer = fields->OptionalInteger("offer", 0, kLargestNumber);
    std::vector<JsonFields> candidates =
        several ? fields->Objects("candidates", kMostCandidates) : std::vector<JsonFields>{*fields};
    if (!fields->AllGood()) return Malformed();
    for (JsonFields& candidate : candidates) {
        const std::string text = candidate.Text("candidate", kLongestCandidate);
        const std::string mid = candidate.OptionalText("sdpMid", kLongestMid);
        const int lineIndex = candidate.OptionalInteger("sdpMLineIndex", 0, kLargestLineIndex).value_or(0);
        if (!candidate.AllGood() || !IsCandidate(text)) return Malformed();
        const LivePhone::Passed passed = phone.PassCandidate(viewer, offer, text, mid, lineIndex);
        if (passed != LivePhone::Passed::On) return Outcome(passed);
    }
    return JsonAnswer(json::object());
}

HttpAnswer Hub::Renew(const HttpRequest& request, LivePhone& phone) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    const int viewer = fields->Integer("viewer", 0, kLargestNumber).value_or(0);
    if (!fields->AllGood()) return Malformed();
    return Outcome(phone.Renew(viewer));
}

HttpAnswer Hub::TakeState(const HttpRequest& request, const PairedPhone& phone) {
    std::optional<JsonFields> fields = JsonFields::Read(request.body);
    if (!fields) return Malformed();
    json state = json::object();
    const auto keep = [&state](const char* key, const auto& value) {
        if (value) state[key] = *value;
    };
    keep("battery", fields->OptionalNumber("battery", 0, 1));
    keep("charging", fields->OptionalFlag("charging"));
    keep("encoderLoad", fields->OptionalNumber("encoderLoad", 0, 100));
    keep("width", fields->OptionalNumber("width", 0, 100'000));
    keep("height", fields->OptionalNumber("height", 0, 100'000));
    keep("framesPerSecond", fields->OptionalNumber("framesPerSecond", 0, 1000));
    keep("microphone", fields->OptionalFlag("microphone"));
    keep("camera", fields->OptionalFlag("camera"));
    const std::string codec = fields->OptionalText("codec", 64);
    if (!codec.empty() && ProblemOfName(codec).empty()) state["codec"] = codec;
    if (!fields->AllGood()) return Malformed();
    if (live.contains(phone.identifier)) states[phone.identifier] = state.dump();
    return JsonAnswer(json::object());
}

void Hub::OpenEvents(const Exchange& exchange, const PairedPhone& phone) {
    const HttpRequest& request = exchange->Request();
    const auto refuse = [&exchange](HttpAnswer refused) { exchange->Answer(std::move(refused)); };
    const std::string tab = request.QueryValue("tab").value_or("");
    if (!IsTabIdentifier(tab)) {
        refuse(Malformed());
        return;
    }
    std::shared_ptr<LivePhone>& open = live[phone.identifier];
    if (open == nullptr) {
        std::string error = "No address is free for this phone.";
        if (!phone.address.empty()) open = LivePhone::Start(phone, tallies, surroundings.live, error);
        if (open == nullptr) {
            live.erase(phone.identifier);
            spdlog::error("\"{}\" cannot be opened to hosts: {}", phone.name, error);
            refuse(Refused(503, "address-in-use",
                           "Hosts cannot reach this phone: its address on the server is taken."));
            return;
        }
        if (surroundings.announce)
            surroundings.announce({phone.name, phone.address, open->Port(), phone.identifier});
    } else if (open->IsOpen() && open->Tab() != tab) {
        if (request.QueryValue("take") != "1") {
            refuse(Refused(409, "open-elsewhere", "The camera is open in another tab of this phone."));
            return;
        }
        open->Dismiss("taken");
    }
    // The end of a stream may come before its number is known here; both are told on this thread.
    const auto number = std::make_shared<std::uint64_t>(0);
    const auto stream = exchange->AnswerWithEvents(
        [number, post = surroundings.live.post, weak = std::weak_ptr<LivePhone>(open)] {
            post([number, weak] {
                if (const std::shared_ptr<LivePhone> ended = weak.lock()) ended->OnStreamEnd(*number);
            });
        });
    *number = open->Attach(stream, tab, EventNumber(request));
    Touch({phone.identifier});
}

// Phones are revoked by name, so no two have the same.
std::string Hub::FreeName(const std::string& wanted, const std::string& identifier) const {
    const auto isTaken = [this, &identifier](const std::string& name) {
        for (const PairedPhone& phone : book.Phones())
            if (phone.name == name && phone.identifier != identifier) return true;
        return false;
    };
    if (!isTaken(wanted)) return wanted;
    int number = 2;
    while (isTaken(fmt::format("{} {}", wanted, number)))
        ++number;
    return fmt::format("{} {}", wanted, number);
}

}  // namespace petrel
