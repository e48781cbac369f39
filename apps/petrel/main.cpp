// petrel: the phone side.
#include <gst/gst.h>
#include <pthread.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <csignal>
#include <iostream>

#include "apps/petrel/SimulateOptions.h"
#include "apps/petrel/Simulator.h"
#include "apps/petrel/serve/PhoneServer.h"
#include "apps/petrel/serve/PhonesCommand.h"
#include "apps/petrel/serve/ServeEvents.h"

namespace {

constexpr int kCannotStart = 2;

void SetUpLog(bool quiet) {
    auto logger = spdlog::stderr_color_mt("petrel");
    logger->set_pattern("%H:%M:%S.%e %^%l%$ %v");
    logger->set_level(quiet ? spdlog::level::warn : spdlog::level::info);
    spdlog::set_default_logger(std::move(logger));
}

// Blocked before the first thread starts, so that every thread inherits it and only the wait below sees them.
sigset_t BlockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR1, SIGUSR2})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signals;
}

void WaitForEnd(const sigset_t& signals, petrel::Simulator& simulator) {
    int received = 0;
    while (sigwait(&signals, &received) == 0) {
        if (received == SIGUSR1) {
            spdlog::info("the encoder hangs until a key picture is asked for");
            simulator.Hang(petrel::HangUntil::KeyPictureIsAsked);
        } else if (received == SIGUSR2) {
            spdlog::info("the encoder hangs until a new negotiation");
            simulator.Hang(petrel::HangUntil::NewClient);
        } else {
            return;
        }
    }
}

int Simulate(const petrel::SimulateOptions& options) {
    const sigset_t signals = BlockSignals();
    gst_init(nullptr, nullptr);
    std::string error;
    const auto simulator = petrel::Simulator::Start(options, petrel::kPhonePort, error);
    if (simulator == nullptr) {
        spdlog::error(error);
        return kCannotStart;
    }
    WaitForEnd(signals, *simulator);
    spdlog::info("ending");
    return 0;
}

// Nothing here uses GStreamer: media flow between the phones' browsers and the hosts.
int Serve(const petrel::ServeOptions& options) {
    SetUpLog(options.quiet);
    const sigset_t signals = BlockSignals();
    std::string error;
    const auto server = petrel::PhoneServer::Start(options, error);
    if (server == nullptr) {
        if (options.events) std::cout << petrel::FailedEvent(error) << std::flush;
        if (!options.events) spdlog::error(error);
        return kCannotStart;
    }
    int received = 0;
    while (sigwait(&signals, &received) == 0) {
        if (received == SIGINT || received == SIGTERM) break;
    }
    spdlog::info("ending");
    return 0;
}

int RunOther(const petrel::ServeCommandLine::Choice& choice) {
    if (const auto* const serve = std::get_if<petrel::ServeOptions>(&choice)) {
        const int exitCode = Serve(*serve);
        spdlog::shutdown();
        return exitCode;
    }
    if (const auto* const phones = std::get_if<petrel::PhonesOptions>(&choice))
        return petrel::ListPhones(*phones);
    return petrel::RevokePhone(std::get<petrel::RevokeOptions>(choice));
}

}  // namespace

int main(int argc, char** argv) {
    const petrel::CommandLine commandLine = petrel::ReadCommandLine(argc, argv);
    if (commandLine.serve.index() != 0) return RunOther(commandLine.serve);
    if (!commandLine.options) {
        (commandLine.exitCode == 0 ? std::cout : std::cerr) << commandLine.text;
        return commandLine.exitCode;
    }
    SetUpLog(commandLine.options->quiet);
    const int exitCode = Simulate(*commandLine.options);
    gst_deinit();
    spdlog::shutdown();
    return exitCode;
}
