#include "web_server/HttpText.h"

#include <algorithm>

namespace web_server {
namespace {

constexpr std::size_t kLongestTarget = 4096;

std::string_view ReasonOf(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 204:
            return "No Content";
        case 301:
            return "Moved Permanently";
        case 304:
            return "Not Modified";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 408:
            return "Request Timeout";
        case 409:
            return "Conflict";
        case 411:
            return "Length Required";
        case 413:
            return "Content Too Large";
        case 415:
            return "Unsupported Media Type";
        case 429:
            return "Too Many Requests";
        case 431:
            return "Request Header Fields Too Large";
        case 500:
            return "Internal Server Error";
        case 503:
            return "Service Unavailable";
        default:
            return "Status";
    }
}

void AddField(std::string& text, std::string_view name, std::string_view value) {
    text += name;
    text += ": ";
    text += value;
    text += "\r\n";
}

std::string StatusLine(int status) {
    std::string text = "HTTP/1.1 " + std::to_string(status) + " ";
    text += ReasonOf(status);
    text += "\r\n";
    return text;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

int HexDigit(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

}  // namespace

std::string_view HttpRequest::Field(std::string_view lowerCaseName) const {
    for (const auto& [name, value] : fields)
        if (name == lowerCaseName) return value;
    return {};
}

std::optional<std::string> HttpRequest::QueryValue(std::string_view name) const {
    std::string_view left = query;
    while (!left.empty()) {
        const std::size_t end = left.find('&');
        const std::string_view pair = left.substr(0, end);
        left = end == std::string_view::npos ? std::string_view() : left.substr(end + 1);
        const std::size_t equals = pair.find('=');
        if (pair.substr(0, equals) != name) continue;
        return DecodePercent(equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1));
    }
    return std::nullopt;
}

std::optional<std::string> DecodePercent(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded.push_back(text[at]);
            continue;
        }
        if (text.size() - at < 3) return std::nullopt;
        const int high = HexDigit(text[at + 1]);
        const int low = HexDigit(text[at + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        decoded.push_back(static_cast<char>(high * 16 + low));
        at += 2;
    }
    return decoded;
}

std::string AnswerText(const HttpAnswer& answer, AfterAnswer after, AnswerBody body) {
    std::string text = StatusLine(answer.status);
    if (!answer.contentType.empty()) AddField(text, "Content-Type", answer.contentType);
    // RFC 9110 section 8.6: these two never carry a length.
    if (answer.status != 204 && answer.status != 304)
        AddField(text, "Content-Length", std::to_string(answer.body.size()));
    for (const auto& [name, value] : answer.fields)
        AddField(text, name, value);
    AddField(text, "Connection", after == AfterAnswer::Closes ? "close" : "keep-alive");
    text += "\r\n";
    if (body == AnswerBody::Written) text += answer.body;
    return text;
}

std::string EventStreamHead(const HttpFields& fields) {
    std::string text = StatusLine(200);
    AddField(text, "Content-Type", "text/event-stream");
    AddField(text, "Cache-Control", "no-store");
    for (const auto& [name, value] : fields)
        AddField(text, name, value);
    AddField(text, "Connection", "close");
    text += "\r\n";
    return text;
}

HttpAnswer Refused(int status, std::string_view code, std::string_view sentence) {
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = "application/json";
    answer.body = "{\"error\":\"";
    answer.body += code;
    answer.body += "\",\"sentence\":\"";
    answer.body += sentence;
    answer.body += "\"}";
    answer.fields.emplace_back("Cache-Control", "no-store");
    return answer;
}

std::optional<HttpAnswer> RefusalOf(const RequestHead& head) {
    if (head.hosts != 1 || head.target.size() > kLongestTarget || !IsPlainTarget(head.target))
        return Refused(400, "malformed", "This is not a request.");
    if (head.isChunked || (head.needsLength && !head.length))
        return Refused(411, "no-length", "The request does not say how long it is.");
    if (head.length && *head.length > head.bodyLimit)
        return Refused(413, "too-large", "The request is too large.");
    return std::nullopt;
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return lower;
}

std::string PlainHttpAnswer(std::string_view ourHost, std::string_view target) {
    HttpAnswer answer;
    answer.contentType = "text/plain; charset=utf-8";
    if (ourHost.empty()) {
        answer.status = 400;
        answer.body = "This port speaks https, not http: begin the address with https://\n";
    } else {
        std::string place = "https://";
        place += ourHost;
        place += IsPlainTarget(target) ? target : "/";
        answer.status = 301;
        answer.body = "This is " + place + ", with https instead of http.\n";
        answer.fields.emplace_back("Location", place);
    }
    return AnswerText(answer, AfterAnswer::Closes);
}

std::string_view FieldOfHead(std::string_view head, std::string_view lowerCaseName) {
    std::size_t begin = head.find("\r\n");
    while (begin != std::string_view::npos) {
        begin += 2;
        const std::size_t end = head.find("\r\n", begin);
        const std::string_view line = head.substr(begin, end == std::string_view::npos ? end : end - begin);
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos && LowerCase(line.substr(0, colon)) == lowerCaseName)
            return Trimmed(line.substr(colon + 1));
        begin = end;
    }
    return {};
}

std::string_view TargetOfHead(std::string_view head) {
    const std::string_view line = head.substr(0, head.find("\r\n"));
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string_view::npos || last <= first) return {};
    return line.substr(first + 1, last - first - 1);
}

bool IsPlainTarget(std::string_view target) {
    return !target.empty() && target.front() == '/' && !target.starts_with("//") &&
           std::all_of(target.begin(), target.end(), [](char c) { return c > 0x20 && c < 0x7F; });
}

}  // namespace web_server
