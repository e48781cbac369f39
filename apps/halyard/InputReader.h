// Reads a descriptor on a thread of its own, no further ahead than one piece.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace halyard {

class InputReader {
public:
    // Called on the reader's thread with each piece, and with an empty one at the end of the input. After
    // a piece nothing more is read until ReadOn().
    using Receiver = std::function<void(std::string)>;

    InputReader(int inputDescriptor, Receiver inputReceiver);
    InputReader(const InputReader&) = delete;
    InputReader& operator=(const InputReader&) = delete;
    // Does not wait for input.
    ~InputReader();

    void ReadOn();  // [any-thread]

private:
    void Run();
    std::optional<std::string> ReadPiece() const;
    void Wake() const;

    const int input;
    const Receiver receiver;
    int wakeUp = -1;
    std::atomic<bool> ending{false};
    std::thread thread;
};

}  // namespace halyard
