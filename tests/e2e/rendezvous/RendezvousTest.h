// The stage: a rendezvous service, the owner of a session, and phones that the service knows.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/host/SimulatedPhone.h"
#include "tests/e2e/nonsense/TraceLog.h"
#include "tests/e2e/rendezvous/RendezvousService.h"
#include "tests/e2e/rendezvous/SessionOwner.h"

namespace rendezvous {

class RendezvousTest : public testing::Test {
protected:
    RendezvousTest();
    ~RendezvousTest() override;

    // Small pictures, so that both phones fit into a small machine; told apart by their width.
    static constexpr int kFirstWidth = 320;
    static constexpr int kSecondWidth = 480;
    void SwitchOnPhones();

    // Starts the session and waits until both phones' picture and sound arrive.
    void StartWithBothPhones();
    bool BothPhonesAreSeen();

    std::string First() const { return service->PeerIdentifier(0); }
    std::string Second() const { return service->PeerIdentifier(1); }
    // "level text" of each entry of the user log.
    static std::vector<std::string> UserLogLines();
    std::string Everything() const;  // for a failed test

    nonsense::TraceLog trace;
    std::unique_ptr<e2e::SimulatedPhone> firstPhone;
    std::unique_ptr<e2e::SimulatedPhone> secondPhone;
    std::unique_ptr<RendezvousService> service;
    std::unique_ptr<SessionOwner> owner;
};

}  // namespace rendezvous
