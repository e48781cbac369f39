// Listens for the clients of a server, keeps their connections and ends them with it, all on a network thread
// of its own.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace web_server {

// [network thread]
class AcceptedConnection {
public:
    virtual ~AcceptedConnection() = default;
    virtual void Start() = 0;
    virtual void GoAway() = 0;  // with a last word, and soon
    virtual void Drop() = 0;    // at once, without a word
};

// [network thread]
class AcceptorOwner {
public:
    virtual ~AcceptorOwner() = default;
    // Null turns the client away.
    virtual std::shared_ptr<AcceptedConnection> MakeConnection(boost::asio::ip::tcp::socket socket) = 0;
    // A client that is turned away because there are too many.
    virtual void OnTooMany(const boost::asio::ip::tcp::socket& socket) = 0;
};

struct AcceptorOptions {
    const char* threadName = "";
    std::size_t maximumConnections = 0;
    std::chrono::milliseconds stopLimit{0};  // for the last words of all connections
};

class Acceptor {
public:
    Acceptor(const AcceptorOptions& toUse, AcceptorOwner& toAsk) : options(toUse), owner(toAsk) {}
    ~Acceptor() { Stop(); }
    Acceptor(const Acceptor&) = delete;
    Acceptor& operator=(const Acceptor&) = delete;

    // The reason when the address cannot be used, otherwise an empty text. Port 0 lets the system choose.
    std::string Listen(const std::string& address, std::uint16_t wantedPort);
    std::uint16_t Port() const { return port; }
    // Ends all connections and waits for the network thread; not from it.
    void Stop();

    const std::shared_ptr<boost::asio::io_context>& Context() const { return context; }
    // [network thread] For a connection that is gone; false when it was not kept here.
    bool Forget(const std::shared_ptr<AcceptedConnection>& connection);

private:
    void Accept();
    void Take(boost::asio::ip::tcp::socket socket);
    void RetryLater();
    void BeginStop();

    const AcceptorOptions options;
    AcceptorOwner& owner;
    const std::shared_ptr<boost::asio::io_context> context = std::make_shared<boost::asio::io_context>(1);
    boost::asio::ip::tcp::acceptor acceptor{*context};
    boost::asio::steady_timer timer{*context};
    std::set<std::shared_ptr<AcceptedConnection>> connections;
    std::uint16_t port = 0;
    bool stopping = false;
    std::thread thread;
};

}  // namespace web_server
