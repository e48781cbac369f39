#include "tests/unit/stories/Timeline.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "tests/unit/stories/PhoneNetwork.h"

namespace stories {
namespace {

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    if (from.empty()) return text;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string Socket(int number) {
    return "socket " + std::to_string(number);
}

std::string Opening(int socket, const std::string& host) {
    return Socket(socket) + " opens ws://" + host + ":9001/ for 2 s";
}

}  // namespace

std::string TimelineLine(std::int64_t timeUs, const std::string& text) {
    std::array<char, 32> time{};
    std::snprintf(time.data(), time.size(), "%lld.%06lld ", static_cast<long long>(timeUs / 1'000'000),
                  static_cast<long long>(timeUs % 1'000'000));
    return time.data() + Replaced(text, "\n", "\\n");
}

void Timeline::Add(std::int64_t timeUs, const std::string& text) {
    lines.push_back(TimelineLine(timeUs, Replaced(text, foreignText, readableText)));
}

void Timeline::Rename(std::string foreign, std::string readable) {
    foreignText = std::move(foreign);
    readableText = std::move(readable);
    for (std::string& line : lines)
        line = Replaced(std::move(line), foreignText, readableText);
}

Script& Script::At(double seconds) {
    timeUs = std::llround(seconds * 1e6);
    return *this;
}

Script& Script::Add(const std::string& text) {
    if (timeUs < limitUs) lines.push_back(TimelineLine(timeUs, text));
    return *this;
}

Script& Script::Starts(int socket, const std::string& host) {
    Add("trace nxWebRtcSession::Start---\n{\n    \"sessionGuid\": \"" + identifier + "\"\n}\n---\n");
    Add(Socket(socket) + " made");
    return Add(Opening(socket, host));
}

Script& Script::Releases(int socket) {
    return Add(Socket(socket) + " gone");
}

Script& Script::Fails(int socket, int code) {
    Add("trace [rendezvous] Websocket Error:" + std::to_string(code) + "\n");
    return Closes(socket);
}

Script& Script::BeginsReconnecting() {
    Add("trace [rendezvous] - Websocket error - beginning reconnection\n");
    return Add("log 1 Rendezvous: Connection error - beginning reconnection.");
}

Script& Script::Reopens(int socket, const std::string& host) {
    return Add(Opening(socket, host));
}

Script& Script::FindsPhone(const std::string& host) {
    return Add("log 0 The phone \"Petrel\" is in the network, at " + host + ".");
}

Script& Script::GivesUp() {
    Add("trace [rendezvous] - Websocket unable to reconnect - giving up\n");
    return Add("log 1 Rendezvous: Session connection failed. Attempt to reconnect failed.");
}

Script& Script::Opens(int socket) {
    Add("trace [rendezvous] socket opened successfully\n");
    return Add(Socket(socket) + R"( sends {"action":"joinMaster","ownerKey":"","sessionGuid":")" +
               identifier + R"(","username":"Halyard"})");
}

Script& Script::ReportsSuccess() {
    return Add("log 0 Rendezvous: Reconnection to session succeeded.");
}

Script& Script::Joins(int socket, const std::string& phone) {
    Add("trace [rendezvous] 'peerJoined' - createConnection name:Petrel peerId:" + phone + "\n");
    return Add(Socket(socket) + R"( sends {"action":"masterMadeOffer","peersIdentifier":")" + phone +
               R"(","sdp":"offer","sessionGuid":")" + identifier + R"(","type":"offer"})");
}

Script& Script::HearsJoinAnswer() {
    return Add("trace ICE: []\n");
}

Script& Script::Shows(const std::string& phone) {
    return Add("picture of " + phone);
}

Script& Script::Closes(int socket) {
    return Add(Socket(socket) + " closed");
}

Script& Script::TellsOfTheClose(const std::string& error, bool wasClean) {
    return Add("trace nxWebRtcSession::ClosedHandler() - error:" + error +
               " wasClean:" + (wasClean ? "true" : "false") + "\n");
}

Script& Script::ComesUp(int socket, const std::string& phone) {
    Opens(socket);
    timeUs += PhoneNetwork::kRoundTripUs;
    Joins(socket, phone);
    timeUs += PhoneNetwork::kRoundTripUs;
    return Shows(phone);
}

Script& Script::ComesUpAfterErrors(int socket) {
    Opens(socket).ReportsSuccess();
    timeUs += PhoneNetwork::kRoundTripUs;
    Joins(socket);
    timeUs += PhoneNetwork::kRoundTripUs;
    return Shows();
}

Script& Script::StartsAnew(int socket) {
    Starts(socket);
    return socket > 1 ? Releases(socket - 1) : *this;
}

Script& Script::IsRefused(double from, int socket, double until) {
    limitUs = std::llround(until * 1e6);
    At(from).StartsAnew(socket);
    At(from + 0.001).Fails(socket).BeginsReconnecting().Reopens(socket);  // attempt 0
    At(from + 0.002).Fails(socket);
    At(from + 1.002001).Reopens(socket).At(from + 1.003001).Fails(socket);
    At(from + 3.003003).Reopens(socket).At(from + 3.004003).Fails(socket);
    // Attempt 3 would be due at 6.004006, but for a socket that is gone by then.
    At(from + 6).StartsAnew(socket + 1).At(from + 6.001).Fails(socket + 1);
    At(from + 10.001004).Reopens(socket + 1).At(from + 10.002004).Fails(socket + 1);
    for (int sweep = 2; from + 6 * sweep < until; ++sweep) {
        At(from + 6 * sweep).StartsAnew(socket + sweep);
        At(from + 6 * sweep + 0.001).Fails(socket + sweep);  // attempts 6, 7 and 8 come too late as well
        if (sweep >= 5) GivesUp();
    }
    limitUs = INT64_MAX;
    return *this;
}

Script& Script::IsUnanswered(double from, int socket, double until) {
    limitUs = std::llround(until * 1e6);
    At(from).StartsAnew(socket);
    At(from + 2).Fails(socket).BeginsReconnecting().Reopens(socket);  // attempt 0
    At(from + 4).Fails(socket).At(from + 5.000001).Reopens(socket);
    At(from + 6).StartsAnew(socket + 1).At(from + 8).Fails(socket + 1);
    At(from + 10.000002).Reopens(socket + 1);
    At(from + 12).StartsAnew(socket + 2).At(from + 14).Fails(socket + 2);
    At(from + 17.000003).Reopens(socket + 2);
    for (int sweep = 3; from + 6 * sweep < until; ++sweep) {
        At(from + 6 * sweep).StartsAnew(socket + sweep);
        At(from + 6 * sweep + 2).Fails(socket + sweep);  // attempts 4 to 8 come too late
        if (sweep >= 8) GivesUp();
    }
    limitUs = INT64_MAX;
    return *this;
}

}  // namespace stories
