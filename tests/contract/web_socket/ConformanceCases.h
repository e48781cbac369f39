// What RFC 6455 asks of a client: one row per thing that a server can say, with what must come of it.
#pragma once

#include <string>
#include <vector>

namespace tests::conformance {

inline constexpr int kNormal = 1000;  // close codes, RFC 6455 section 7.4.1
inline constexpr int kProtocolError = 1002;
inline constexpr int kInvalidPayload = 1007;
inline constexpr int kTooBig = 1009;

enum class Delivery { AtOnce, ByteByByte };

struct Case {
    std::string name;
    std::string bytes;  // after the opening handshake
    std::vector<std::string> messages;
    // What the client answers a close frame with, or fails the connection with.
    int closeCode = kNormal;
    bool isBreach = false;
    std::vector<std::string> pongs;  // what pings asked for; the last one must come, others may be left out
    Delivery delivery = Delivery::AtOnce;
};

// The rows by subject; conforming ones end with a close frame.
struct Subject {
    const char* name;
    std::vector<Case> cases;
};
std::vector<Subject> Subjects();

// The opening handshake: what becomes of the server's answer.
struct AnswerCase {
    const char* name;
    std::string text;  // "{accept}" stands for the right value of Sec-WebSocket-Accept
    std::string report;
};
std::vector<AnswerCase> AnswerCases();

}  // namespace tests::conformance
