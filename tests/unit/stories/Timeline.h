// What a story has told so far: trace, user log, sockets and pictures, each line with its time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace stories {

// "12.000001 text": seconds since the story began, line feeds and the source's identifier made readable.
std::string TimelineLine(std::int64_t timeUs, const std::string& text);

class Timeline {
public:
    void Add(std::int64_t timeUs, const std::string& text);
    // Each further occurrence of `foreign` is told as `readable`.
    void Rename(std::string foreign, std::string readable);

    const std::vector<std::string>& Lines() const { return lines; }

private:
    std::string foreignText;
    std::string readableText;
    std::vector<std::string> lines;
};

// The lines that a story should have told, spelled out byte for byte. Each verb adds at the current time.
class Script {
public:
    // Of a source with this identifier; that of a direct source is told as "SOURCE".
    explicit Script(std::string sourceIdentifier = "SOURCE") : identifier(std::move(sourceIdentifier)) {}

    // Seconds since the story began; the microseconds matter.
    Script& At(double seconds);

    Script& FindsPhone(const std::string& host = "10.0.0.20");  // by discovery
    Script& Starts(int socket, const std::string& host = "10.0.0.20");
    // The session was stopped, or replaces its socket: the one before goes once the new one has taken over.
    Script& Releases(int socket);
    Script& Fails(int socket, int code = 1);
    Script& BeginsReconnecting();
    Script& Reopens(int socket, const std::string& host = "10.0.0.20");
    Script& GivesUp();
    Script& Opens(int socket);
    Script& ReportsSuccess();
    Script& Joins(int socket, const std::string& phone = "phone-1");
    Script& HearsJoinAnswer();
    Script& Shows(const std::string& phone = "phone-1");
    Script& Closes(int socket);
    Script& TellsOfTheClose(const std::string& error, bool wasClean);
    // Opened, joined and shown, as long after each other as the network of the stories takes.
    Script& ComesUp(int socket, const std::string& phone = "phone-1");
    Script& ComesUpAfterErrors(int socket);

    // --- What a direct source tells from its start, or from the sweep that found it stopped, at `from`
    // seconds with socket number `socket` until `until` seconds, lines at that very time left out. The sweep
    // puts another socket in place every six seconds while the count of attempts goes on.
    Script& IsRefused(double from, int socket, double until);
    Script& IsUnanswered(double from, int socket, double until);

    const std::vector<std::string>& Lines() const { return lines; }

private:
    Script& Add(const std::string& text);
    Script& StartsAnew(int socket);

    const std::string identifier;
    std::int64_t timeUs = 0;
    std::int64_t limitUs = INT64_MAX;  // lines at or after it are left out
    std::vector<std::string> lines;
};

}  // namespace stories
