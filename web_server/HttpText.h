// The texts that an HTTP server writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "web_server/HttpTypes.h"

namespace web_server {

enum class AfterAnswer { KeepsOpen, Closes };
enum class AnswerBody { Written, LeftOut };

// The whole answer as bytes; without its body to a HEAD request.
std::string AnswerText(const HttpAnswer& answer, AfterAnswer after, AnswerBody body = AnswerBody::Written);

// The head of an answer that goes on until the connection ends (text/event-stream).
std::string EventStreamHead(const HttpFields& fields);

// {"error": code, "sentence": ...}; neither needs escaping.
HttpAnswer Refused(int status, std::string_view code, std::string_view sentence);

// What somebody hears who speaks HTTP without TLS: where to go instead, when the host is one of ours, and
// that this is the wrong protocol in any case.
std::string PlainHttpAnswer(std::string_view ourHost, std::string_view target);

// The head of a request, as far as it decides whether the body is read.
struct RequestHead {
    std::size_t hosts = 0;  // how often the field is there
    std::string_view target;
    bool needsLength = false;
    bool isChunked = false;
    std::optional<std::uint64_t> length;
    std::uint64_t bodyLimit = 0;
};
std::optional<HttpAnswer> RefusalOf(const RequestHead& head);

std::string LowerCase(std::string_view text);

// The value of a field in a request's head as it was sent; empty when there is none.
std::string_view FieldOfHead(std::string_view head, std::string_view lowerCaseName);

// The target in the first line of a request; empty when that is none.
std::string_view TargetOfHead(std::string_view head);

// Printable ASCII without blanks, beginning with '/'.
bool IsPlainTarget(std::string_view target);

}  // namespace web_server
