#include "host_runtime/network/NameLookup.h"

#include <atomic>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <system_error>
#include <thread>
#include <utility>

#include "host_runtime/network/NetworkThread.h"

namespace host_runtime {
namespace {

using boost::asio::ip::tcp;
using Done = std::function<void(std::vector<tcp::endpoint>)>;

// Each name gets a thread of its own, since the system's look-up can block for half a minute and must not
// delay the others; it is detached, so that it delays neither a destructor nor the exit of the process.
constexpr int kMaximumThreads = 64;
std::atomic<int> runningThreads{0};

void Answer(Done done, std::vector<tcp::endpoint> endpoints) {
    boost::asio::post(NetworkContext(), [done = std::move(done), endpoints = std::move(endpoints)]() mutable {
        done(std::move(endpoints));
    });
}

std::vector<tcp::endpoint> AskSystem(const std::string& host, std::uint16_t port) {
    boost::system::error_code error;
    tcp::resolver resolver(NetworkContext());
    const auto results = resolver.resolve(host, std::to_string(port), tcp::resolver::numeric_service, error);
    std::vector<tcp::endpoint> endpoints;
    if (error) return endpoints;
    for (const auto& result : results)
        endpoints.push_back(result.endpoint());
    return endpoints;
}

}  // namespace

void LookUp(const std::string& host, std::uint16_t port, Done done) {
    boost::system::error_code notNumeric;
    const auto address = boost::asio::ip::make_address(host, notNumeric);
    if (!notNumeric) {
        Answer(std::move(done), {tcp::endpoint(address, port)});
        return;
    }
    if (runningThreads.fetch_add(1) >= kMaximumThreads) {
        runningThreads.fetch_sub(1);
        Answer(std::move(done), {});
        return;
    }
    try {
        std::thread([host, port, done] {
            Answer(done, AskSystem(host, port));
            runningThreads.fetch_sub(1);
        }).detach();
    } catch (const std::system_error&) {
        runningThreads.fetch_sub(1);
        Answer(std::move(done), {});
    }
}

}  // namespace host_runtime
