#include "tests/contract/web_socket/ConformanceCases.h"

#include <array>
#include <utility>

#include "tests/contract/web_socket/RawPeer.h"

namespace tests::conformance {
namespace {

constexpr std::size_t kLimit = std::size_t{1} << 20;
constexpr std::array<int, 6> kOpcodes = {kContinuation, kText, kBinary, kClose, kPing, kPong};

std::string Number(std::size_t number) {
    return std::to_string(number);
}

std::string CodeBytes(int code) {
    return {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
}

std::string CloseFrame(int code, const std::string& reason = {}) {
    return EncodeFrame({kClose, true, CodeBytes(code) + reason});
}

std::string TextFrame(const std::string& text) {
    return EncodeFrame({kText, true, text});
}

// A frame whose length is written in more bytes than needed.
std::string LongWindedFrame(int lengthBytes, const std::string& payload) {
    std::string bytes = "\x81";
    bytes += lengthBytes == 2 ? '\x7E' : '\x7F';
    bytes.append(static_cast<std::size_t>(lengthBytes - 1), '\0');
    bytes += static_cast<char>(payload.size());
    return bytes + payload;
}

Case Good(std::string name, const std::string& bytes, std::vector<std::string> messages,
          std::vector<std::string> pongs = {}) {
    return {std::move(name), bytes + CloseFrame(kNormal), std::move(messages), kNormal, false,
            std::move(pongs)};
}

Case Breach(std::string name, std::string bytes, int code = kProtocolError,
            std::vector<std::string> messages = {}) {
    return {std::move(name), std::move(bytes), std::move(messages), code, true, {}};
}

Case Slowly(Case one) {
    one.name += " byte by byte";
    one.delivery = Delivery::ByteByByte;
    return one;
}

// The text in as many frames as it has pieces.
std::string Fragments(const std::vector<std::string>& pieces, const std::string& between = {}) {
    std::string bytes;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        if (index > 0) bytes += between;
        bytes += EncodeFrame({index == 0 ? kText : kContinuation, index + 1 == pieces.size(), pieces[index]});
    }
    return bytes;
}

std::vector<std::string> Letters(const std::string& text) {
    std::vector<std::string> pieces;
    for (const char letter : text)
        pieces.emplace_back(1, letter);
    return pieces;
}

std::vector<Case> Lengths() {
    std::vector<Case> cases;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{124}, std::size_t{125}, std::size_t{126},
          std::size_t{127}, std::size_t{128}, std::size_t{65534}, std::size_t{65535}, std::size_t{65536},
          std::size_t{65537}, std::size_t{131072}, kLimit - 1, kLimit}) {
        const std::string text(size, 'x');
        cases.push_back(Good("text of " + Number(size), TextFrame(text), {text}));
        cases.push_back(Good("bytes of " + Number(size),
                             EncodeFrame({kBinary, true, text}) + TextFrame("after"), {"after"}));
        if (size < 1000) cases.push_back(Slowly(cases[cases.size() - 2]));
    }
    cases.push_back(Breach("a text over the limit", TextFrame(std::string(kLimit + 1, 'x')), kTooBig));
    cases.push_back(Breach("a promise over the limit", "\x81\x7F\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", kTooBig));
    // Either code would do: what counts is the end.
    cases.push_back(
        Breach("a length with its first bit set", "\x81\x7F\x80" + std::string(6, '\0') + "\x01x", kTooBig));
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{125}}) {
        const std::string text(size, 'x');
        cases.push_back(Breach(Number(size) + " in two bytes of length", LongWindedFrame(2, text)));
        cases.push_back(Breach(Number(size) + " in eight bytes of length", LongWindedFrame(8, text)));
    }
    cases.push_back(Breach("65535 in eight bytes of length",
                           "\x81\x7F" + std::string(6, '\0') + "\xFF\xFF" + std::string(65535, 'x')));
    return cases;
}

std::vector<Case> Reserved() {
    std::vector<Case> cases;
    for (int bits = 1; bits < 8; ++bits) {
        for (const int opcode : kOpcodes) {
            std::string bytes = EncodeFrame({opcode, true, ""});
            bytes[0] = static_cast<char>(static_cast<unsigned char>(bytes[0]) | (bits << 4));
            const std::string name = "reserved bits " + Number(static_cast<std::size_t>(bits)) + " opcode " +
                                     Number(static_cast<std::size_t>(opcode));
            cases.push_back(Breach(name, bytes));
            cases.push_back(
                Breach(name + " after a text", TextFrame("one") + bytes, kProtocolError, {"one"}));
        }
    }
    for (const int opcode : {0x3, 0x4, 0x5, 0x6, 0x7, 0xB, 0xC, 0xD, 0xE, 0xF}) {
        const std::string name = "reserved opcode " + Number(static_cast<std::size_t>(opcode));
        cases.push_back(Breach(name, EncodeFrame({opcode, true, ""})));
        cases.push_back(Breach(name + " with a payload", EncodeFrame({opcode, true, "payload"})));
        cases.push_back(Breach(name + " unfinished", EncodeFrame({opcode, false, "payload"})));
        cases.push_back(Breach(name + " after a text", TextFrame("one") + EncodeFrame({opcode, true, "x"}),
                               kProtocolError, {"one"}));
        cases.push_back(Breach(name + " inside a message",
                               EncodeFrame({kText, false, "a"}) + EncodeFrame({opcode, true, "x"})));
    }
    for (const int opcode : kOpcodes) {
        const std::string name = "masked opcode " + Number(static_cast<std::size_t>(opcode));
        cases.push_back(Breach(name, EncodeFrame({opcode, true, ""}, Masking::Masked)));
        cases.push_back(Breach(name + " with a payload",
                               EncodeFrame({opcode, true, CodeBytes(kNormal)}, Masking::Masked)));
    }
    return cases;
}

std::vector<Case> Controls() {
    const std::string longest(125, 'p');
    const std::string bytes("\x00\xFF\xFE\xC3", 4);
    std::vector<Case> cases;
    for (const std::string& payload : {std::string(), std::string("hello"), bytes, longest}) {
        cases.push_back(
            Good("a ping of " + Number(payload.size()), EncodeFrame({kPing, true, payload}), {}, {payload}));
        cases.push_back(Slowly(cases.back()));
        cases.push_back(Good("a pong of " + Number(payload.size()),
                             EncodeFrame({kPong, true, payload}) + TextFrame("after"), {"after"}));
    }
    std::string ten;
    std::vector<std::string> pongs;
    for (std::size_t count = 0; count < 10; ++count) {
        pongs.push_back("ping " + Number(count));
        ten += EncodeFrame({kPing, true, pongs.back()});
    }
    cases.push_back(Good("ten pings at once", ten, {}, pongs));
    cases.push_back(Slowly(cases.back()));
    cases.push_back(Good("a pong nobody asked for, then a ping",
                         EncodeFrame({kPong, true, "what?"}) + EncodeFrame({kPing, true, "ping"}), {},
                         {"ping"}));
    for (const int opcode : {kPing, kPong, kClose}) {
        const std::string name = "opcode " + Number(static_cast<std::size_t>(opcode));
        const std::string payload = opcode == kClose ? CodeBytes(kNormal) : "p";
        cases.push_back(Breach(
            name + " of 126", EncodeFrame({opcode, true, payload + std::string(126 - payload.size(), 'p')})));
        cases.push_back(
            Breach(name + " of 65536", EncodeFrame({opcode, true, payload + std::string(65536, 'p')})));
        cases.push_back(Breach(name + " in fragments", EncodeFrame({opcode, false, payload}) +
                                                           EncodeFrame({kContinuation, true, "x"})));
        cases.push_back(Breach(name + " in fragments inside a message",
                               EncodeFrame({kText, false, "a"}) + EncodeFrame({opcode, false, payload})));
        std::string longWinded = EncodeFrame({opcode, true, ""});
        longWinded[1] = '\x7E';
        cases.push_back(Breach(name + " in two bytes of length", longWinded + std::string(2, '\0')));
    }
    return cases;
}

std::vector<Case> Fragmentation() {
    std::vector<Case> cases;
    for (const std::size_t count : {std::size_t{2}, std::size_t{3}, std::size_t{10}, std::size_t{1000}}) {
        const std::vector<std::string> pieces(count, "piece ");
        std::string whole;
        for (const std::string& piece : pieces)
            whole += piece;
        const std::string name = Number(count) + " fragments";
        cases.push_back(Good(name, Fragments(pieces), {whole}));
        cases.push_back(
            Good(name + " with pongs between", Fragments(pieces, EncodeFrame({kPong, true, "x"})), {whole}));
        if (count > 10) continue;
        cases.push_back(Slowly(cases[cases.size() - 2]));
        cases.push_back(Good(name + " with pings between",
                             Fragments(pieces, EncodeFrame({kPing, true, "ping"})), {whole},
                             std::vector<std::string>(count - 1, "ping")));
        cases.push_back(Slowly(cases.back()));
    }
    cases.push_back(Good("empty fragments", Fragments({"", "", ""}), {""}));
    cases.push_back(Good("an empty first fragment", Fragments({"", "text"}), {"text"}));
    cases.push_back(Good("an empty last fragment", Fragments({"text", ""}), {"text"}));
    cases.push_back(Good("an empty fragment in the middle", Fragments({"te", "", "xt"}), {"text"}));
    cases.push_back(
        Good("two fragmented texts", Fragments({"a", "b"}) + Fragments({"c", "d"}), {"ab", "cd"}));
    cases.push_back(Good("bytes in fragments",
                         EncodeFrame({kBinary, false, "\xFF"}) + EncodeFrame({kContinuation, true, "\xFE"}) +
                             TextFrame("text"),
                         {"text"}));
    cases.push_back(Good("fragments up to the limit", Fragments({std::string(kLimit - 1, 'x'), "y"}),
                         {std::string(kLimit - 1, 'x') + "y"}));
    cases.push_back(Breach("fragments over the limit", Fragments({std::string(kLimit, 'x'), "y"}), kTooBig));
    cases.push_back(Good("a close inside a message", EncodeFrame({kText, false, "a"}), {}));
    for (const bool last : {false, true}) {
        const std::string name = last ? "a last fragment" : "a fragment";
        const std::string lone = EncodeFrame({kContinuation, last, "x"});
        cases.push_back(Breach(name + " of nothing", lone));
        cases.push_back(Breach(name + " of nothing, empty", EncodeFrame({kContinuation, last, ""})));
        cases.push_back(
            Breach(name + " after a whole text", TextFrame("one") + lone, kProtocolError, {"one"}));
        cases.push_back(
            Breach(name + " after a fragmented text", Fragments({"a", "b"}) + lone, kProtocolError, {"ab"}));
        for (const int opcode : {kText, kBinary}) {
            cases.push_back(
                Breach("opcode " + Number(static_cast<std::size_t>(opcode)) + " inside a message, " + name,
                       EncodeFrame({kText, false, "a"}) + EncodeFrame({opcode, last, "b"})));
            cases.push_back(
                Breach("opcode " + Number(static_cast<std::size_t>(opcode)) + " inside bytes, " + name,
                       EncodeFrame({kBinary, false, "a"}) + EncodeFrame({opcode, last, "b"})));
        }
    }
    return cases;
}

std::vector<Case> Utf8() {
    std::vector<Case> cases;
    const std::vector<std::string> valid = {"\x7F",
                                            "\xC2\x80",
                                            "\xDF\xBF",
                                            "\xE0\xA0\x80",
                                            "\xED\x9F\xBF",
                                            "\xEE\x80\x80",
                                            "\xEF\xBF\xBD",
                                            "\xEF\xBF\xBE",
                                            "\xEF\xBF\xBF",
                                            "\xEF\xBB\xBF",
                                            "\xF0\x90\x80\x80",
                                            "\xF0\x9F\xBF\xBE",
                                            "\xF4\x8F\xBF\xBF",
                                            "\xCE\xBA\xE1\xBD\xB9\xCF\x83\xCE\xBC\xCE\xB5",
                                            "\xF0\x9F\x8E\xA5\xF0\x9F\x8E\xA4"};
    for (std::size_t index = 0; index < valid.size(); ++index) {
        const std::string name = "valid text " + Number(index);
        const std::string text = "<" + valid[index] + ">";
        cases.push_back(Good(name, TextFrame(text), {text}));
        cases.push_back(Slowly(cases.back()));
        cases.push_back(Good(name + " parted everywhere", Fragments(Letters(text)), {text}));
        cases.push_back(Good(name + " parted everywhere around pings",
                             Fragments(Letters(text), EncodeFrame({kPing, true, "\xFF"})), {text},
                             std::vector<std::string>(text.size() - 1, "\xFF")));
    }
    const std::vector<std::string> invalid = {"\x80",
                                              "\xBF",
                                              "\x80\xBF",
                                              "\xC0\x80",
                                              "\xC0\xAF",
                                              "\xC1\xBF",
                                              "\xE0\x80\x80",
                                              "\xE0\x80\xAF",
                                              "\xE0\x9F\xBF",
                                              "\xF0\x80\x80\x80",
                                              "\xF0\x80\x80\xAF",
                                              "\xF0\x8F\xBF\xBF",
                                              "\xED\xA0\x80",
                                              "\xED\xAD\xBF",
                                              "\xED\xAE\x80",
                                              "\xED\xAF\xBF",
                                              "\xED\xB0\x80",
                                              "\xED\xBE\x80",
                                              "\xED\xBF\xBF",
                                              "\xED\xA0\x80\xED\xB0\x80",
                                              "\xED\xAF\xBF\xED\xBF\xBF",
                                              "\xF4\x90\x80\x80",
                                              "\xF5\x80\x80\x80",
                                              "\xF8\x88\x80\x80\x80",
                                              "\xFC\x84\x80\x80\x80\x80",
                                              "\xFE",
                                              "\xFF",
                                              "\xFE\xFE\xFF\xFF",
                                              "\xC3(",
                                              "\xE2\x82(",
                                              "\xE2(\xAC",
                                              "\xF0\x9F\x8E(",
                                              "\xF0(\x8C\xBC",
                                              "\xC3\xC3\xB6"};
    for (std::size_t index = 0; index < invalid.size(); ++index) {
        const std::string name = "invalid text " + Number(index);
        const std::string text = "<" + invalid[index] + ">";
        cases.push_back(Breach(name, TextFrame(text), kInvalidPayload));
        cases.push_back(Slowly(cases.back()));
        cases.push_back(Breach(name + " parted everywhere", Fragments(Letters(text)), kInvalidPayload));
        cases.push_back(
            Breach(name + " before the message ends", EncodeFrame({kText, false, text}), kInvalidPayload));
        cases.push_back(Good(name + " as bytes", EncodeFrame({kBinary, true, text}), {}));
    }
    for (const std::string& cut :
         {std::string("\xC3"), std::string("\xE2"), std::string("\xE2\x82"), std::string("\xF0"),
          std::string("\xF0\x9F"), std::string("\xF0\x9F\x8E")}) {
        const std::string name =
            "a letter of " + Number(cut.size()) + " bytes cut " + Number(static_cast<unsigned char>(cut[0]));
        cases.push_back(Breach(name, TextFrame("a" + cut), kInvalidPayload));
        cases.push_back(Breach(name + " in fragments", Fragments({"a" + cut, ""}), kInvalidPayload));
        cases.push_back(
            Breach(name + " and another message", TextFrame(cut) + TextFrame("\xB6"), kInvalidPayload));
    }
    return cases;
}

std::vector<Case> Closing() {
    std::vector<Case> cases;
    const auto ends = [&cases](std::string name, std::string bytes, int code) {
        cases.push_back({std::move(name), std::move(bytes), {}, code, false, {}});
    };
    for (const int code :
         {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 1012, 1013, 3000, 3999, 4000, 4999}) {
        const std::string name = "code " + Number(static_cast<std::size_t>(code));
        ends(name, CloseFrame(code), code);
        ends(name + " with a reason", CloseFrame(code, "because"), code);
    }
    for (const int code : {0, 1, 999, 1004, 1005, 1006, 1015, 1016, 1100, 2000, 2999}) {
        const std::string name = "code " + Number(static_cast<std::size_t>(code)) + " that must not be sent";
        cases.push_back(Breach(name, CloseFrame(code)));
        cases.push_back(Breach(name + ", with a reason", CloseFrame(code, "because")));
    }
    // Codes that are not defined mean nothing, and do not hurt.
    for (const int code : {5000, 65535})
        ends("undefined code " + Number(static_cast<std::size_t>(code)), CloseFrame(code), code);
    ends("no code", EncodeFrame({kClose, true, ""}), kNormal);
    ends("the longest reason", CloseFrame(kNormal, std::string(123, 'r')), kNormal);
    ends("a reason in several languages", CloseFrame(kNormal, "\xCE\xBA\xF0\x9F\x8E\xA5"), kNormal);
    ends("another message behind it", CloseFrame(kNormal) + TextFrame("late"), kNormal);
    ends("a ping behind it", CloseFrame(kNormal) + EncodeFrame({kPing, true, "late"}), kNormal);
    ends("another close behind it", CloseFrame(kNormal) + CloseFrame(1001), kNormal);
    ends("nonsense behind it", CloseFrame(kNormal) + std::string(100, '\xFF'), kNormal);
    cases.push_back(Breach("a code of one byte", EncodeFrame({kClose, true, "\x03"})));
    cases.push_back(Breach("a reason over the limit", CloseFrame(kNormal, std::string(124, 'r'))));
    for (const std::string& reason :
         {std::string("\xFF"), std::string("\xC3"), std::string("\xED\xA0\x80"), std::string("\xC0\x80")})
        cases.push_back(Breach("a reason in bad UTF-8 " + Number(static_cast<unsigned char>(reason[0])),
                               CloseFrame(kNormal, reason)));
    return cases;
}

}  // namespace

std::vector<Subject> Subjects() {
    return {{"lengths", Lengths()},   {"reserved", Reserved()},
            {"controls", Controls()}, {"fragmentation", Fragmentation()},
            {"utf8", Utf8()},         {"closing", Closing()}};
}

std::vector<AnswerCase> AnswerCases() {
    const std::string status = "HTTP/1.1 101 Switching Protocols\r\n";
    const std::string upgrade = "Upgrade: websocket\r\n";
    const std::string connection = "Connection: Upgrade\r\n";
    const std::string accept = "Sec-WebSocket-Accept: {accept}\r\n";
    const std::string whole = status + upgrade + connection + accept;
    const std::string opens = "open";
    const std::string refused = "error 3";
    return {
        {"the plain answer", whole + "\r\n", opens},
        {"another reason phrase", "HTTP/1.1 101 Fine with me\r\n" + upgrade + connection + accept + "\r\n",
         opens},
        {"no reason phrase", "HTTP/1.1 101 \r\n" + upgrade + connection + accept + "\r\n", opens},
        {"another order", status + accept + connection + upgrade + "\r\n", opens},
        {"names in lower case",
         status + "upgrade: websocket\r\nconnection: Upgrade\r\nsec-websocket-accept: {accept}\r\n\r\n",
         opens},
        {"names in upper case",
         status + "UPGRADE: websocket\r\nCONNECTION: Upgrade\r\nSEC-WEBSOCKET-ACCEPT: {accept}\r\n\r\n",
         opens},
        {"values in another case", status + "Upgrade: WebSocket\r\nConnection: upgrade\r\n" + accept + "\r\n",
         opens},
        {"no blank behind the colon",
         status + "Upgrade:websocket\r\nConnection:Upgrade\r\nSec-WebSocket-Accept:{accept}\r\n\r\n", opens},
        {"blanks around the values",
         status +
             "Upgrade:   websocket  \r\nConnection: \tUpgrade\r\nSec-WebSocket-Accept:  {accept}  \r\n\r\n",
         opens},
        {"a list of connection options",
         status + upgrade + "Connection: keep-alive, Upgrade\r\n" + accept + "\r\n", opens},
        {"other headers",
         whole + "Server: phone\r\nDate: Thu, 01 Jan 1970 00:00:00 GMT\r\nX-Odd: \xFF\r\n\r\n", opens},
        {"many other headers", whole + "X-Long: " + std::string(4000, 'x') + "\r\n\r\n", opens},
        {"no upgrade", status + connection + accept + "\r\n", refused},
        {"an upgrade to something else", status + "Upgrade: h2c\r\n" + connection + accept + "\r\n", refused},
        {"no connection option", status + upgrade + accept + "\r\n", refused},
        {"another connection option", status + upgrade + "Connection: keep-alive\r\n" + accept + "\r\n",
         refused},
        {"no accept value", status + upgrade + connection + "\r\n", refused},
        {"an empty accept value", status + upgrade + connection + "Sec-WebSocket-Accept: \r\n\r\n", refused},
        {"a wrong accept value",
         status + upgrade + connection + "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n",
         refused},
        {"an accept value with something behind it",
         status + upgrade + connection + "Sec-WebSocket-Accept: {accept}x\r\n\r\n", refused},
        {"an extension nobody asked for", whole + "Sec-WebSocket-Extensions: permessage-deflate\r\n\r\n",
         refused},
        {"an unknown extension", whole + "Sec-WebSocket-Extensions: x-unknown; a=1\r\n\r\n", refused},
        {"a protocol nobody asked for", whole + "Sec-WebSocket-Protocol: chat\r\n\r\n", refused},
        {"an older HTTP", "HTTP/1.0 101 Switching Protocols\r\n" + upgrade + connection + accept + "\r\n",
         refused},
        {"a newer HTTP", "HTTP/2.0 101 Switching Protocols\r\n" + upgrade + connection + accept + "\r\n",
         refused},
        {"another status", "HTTP/1.1 200 OK\r\n" + upgrade + connection + accept + "\r\n", refused},
        {"a redirection", "HTTP/1.1 302 Found\r\nLocation: ws://127.0.0.1/\r\n\r\n", refused},
        {"a request for a name and password", "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic\r\n\r\n",
         refused},
        {"a status of two digits", "HTTP/1.1 10 Odd\r\n" + upgrade + connection + accept + "\r\n", refused},
        {"a header without a colon", status + upgrade + connection + accept + "no colon\r\n\r\n", refused},
        {"a header without a name", status + upgrade + connection + accept + ": value\r\n\r\n", refused},
        {"a NUL in a header", whole + std::string("X-Odd: a\0b\r\n\r\n", 14), refused},
        {"headers without an end", whole + "X-Long: " + std::string(100'000, 'x'), refused},
    };
}

}  // namespace tests::conformance
