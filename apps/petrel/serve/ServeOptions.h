// What `petrel serve`, `petrel phones` and `petrel revoke` were asked to do.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
}

namespace petrel {

struct ServeOptions {
    std::string address = "0.0.0.0";
    std::uint16_t port = 9443;
    std::vector<std::string> phoneAddresses;  // of this machine; empty: 127.0.1.1 and following
    std::filesystem::path state;              // empty: the XDG state folder
    std::string certificate;                  // file, PEM; empty: of the local authority
    std::string key;
    std::string name;  // of this server, for the phones; empty: the machine's
    bool quiet = false;
    bool events = false;  // on standard output, instead of text
};

struct PhonesOptions {
    std::filesystem::path state;
};

struct RevokeOptions {
    std::filesystem::path state;
    std::string phone;  // name or identifier
};

// Reads the three subcommands; which of them was used says Chosen().
class ServeCommandLine {
public:
    explicit ServeCommandLine(CLI::App& program);

    using Choice = std::variant<std::monostate, ServeOptions, PhonesOptions, RevokeOptions>;
    // After the command line was read. Throws what CLI11 throws when options do not fit together.
    Choice Chosen() const;

private:
    CLI::App* serve;
    CLI::App* phones;
    CLI::App* revoke;
    ServeOptions serveOptions;
    PhonesOptions phonesOptions;
    RevokeOptions revokeOptions;
    std::string bind;
};

}  // namespace petrel
