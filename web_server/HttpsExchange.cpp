#include "web_server/HttpsExchange.h"

#include <atomic>
#include <utility>

#include "web_server/HttpText.h"

namespace web_server {
namespace {

class Stream final : public EventStream {
public:
    explicit Stream(std::weak_ptr<AnsweringConnection> toWriteTo) : connection(std::move(toWriteTo)) {}
    void Send(std::string text) override {
        if (const auto alive = connection.lock()) alive->PushToStream(std::move(text));
    }
    void End() override {
        if (const auto alive = connection.lock()) alive->EndStreamSilently();
    }

private:
    const std::weak_ptr<AnsweringConnection> connection;
};

class Exchange final : public HttpExchange {
public:
    Exchange(std::weak_ptr<AnsweringConnection> toAnswer, HttpRequest asked)
        : connection(std::move(toAnswer)), request(std::move(asked)) {}
    ~Exchange() override { Give(Refused(500, "not-answered", "The server could not answer this.")); }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const HttpRequest& Request() const override { return request; }
    void Answer(HttpAnswer answer) override { Give(std::move(answer)); }

    std::shared_ptr<EventStream> AnswerWithEvents(std::function<void()> onEnd) override {
        if (!answered.exchange(true)) {
            if (const auto alive = connection.lock()) alive->BeginStream(std::move(onEnd));
        }
        return std::make_shared<Stream>(connection);
    }

private:
    void Give(HttpAnswer answer) {
        if (answered.exchange(true)) return;
        if (const auto alive = connection.lock()) alive->Answer(std::move(answer));
    }

    const std::weak_ptr<AnsweringConnection> connection;
    const HttpRequest request;
    std::atomic<bool> answered{false};
};

}  // namespace

std::shared_ptr<HttpExchange> MakeExchange(std::weak_ptr<AnsweringConnection> connection,
                                           HttpRequest request) {
    return std::make_shared<Exchange>(std::move(connection), std::move(request));
}

}  // namespace web_server
