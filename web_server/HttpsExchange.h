// What a request and an event stream look like to whoever answers; the connection behind them may be gone.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "web_server/HttpsServer.h"

namespace web_server {

// The connection as its exchange and its stream use it. [any-thread]
class AnsweringConnection {
public:
    virtual ~AnsweringConnection() = default;
    virtual void Answer(HttpAnswer answer) = 0;
    virtual void BeginStream(std::function<void()> onEnd) = 0;
    virtual void PushToStream(std::string text) = 0;
    virtual void EndStreamSilently() = 0;
};

std::shared_ptr<HttpExchange> MakeExchange(std::weak_ptr<AnsweringConnection> connection,
                                           HttpRequest request);

}  // namespace web_server
