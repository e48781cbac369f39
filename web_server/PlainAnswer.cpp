#include "web_server/PlainAnswer.h"

namespace web_server {
namespace {

struct Status {
    std::string_view line;
    std::string_view extraHeaders;
    std::string_view body;
};

Status StatusOf(Refusal refusal) {
    switch (refusal) {
        case Refusal::NotFound:
            return {"404 Not Found", "", "Nothing is served here.\n"};
        case Refusal::UpgradeRequired:
            return {"426 Upgrade Required", "Upgrade: websocket\r\n", "This is a WebSocket.\n"};
        case Refusal::BadRequest:
            break;
    }
    return {"400 Bad Request", "", "This is not a request.\n"};
}

}  // namespace

std::string PlainAnswer(Refusal refusal) {
    const Status status = StatusOf(refusal);
    std::string answer = "HTTP/1.1 ";
    answer += status.line;
    answer += "\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: ";
    answer += std::to_string(status.body.size());
    answer += "\r\n";
    answer += status.extraHeaders;
    // RFC 9110 section 7.8: who sends Upgrade names it in Connection.
    answer +=
        status.extraHeaders.empty() ? "Connection: close\r\n\r\n" : "Connection: upgrade, close\r\n\r\n";
    answer += status.body;
    return answer;
}

bool AsksForPath(std::string_view target, std::string_view path) {
    return target.substr(0, target.find('?')) == path;
}

}  // namespace web_server
