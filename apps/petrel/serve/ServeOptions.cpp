#include "apps/petrel/serve/ServeOptions.h"

#include <arpa/inet.h>

#include <CLI/CLI.hpp>
#include <algorithm>

namespace petrel {
namespace {

constexpr const char* kStateText =
    "folder for certificates and paired phones (default: in the XDG state folder)";

bool IsIpv4(const std::string& text) {
    in_addr parsed{};
    return inet_pton(AF_INET, text.c_str(), &parsed) == 1;
}

bool IsIpAddress(const std::string& text) {
    in6_addr parsed{};
    return IsIpv4(text) || inet_pton(AF_INET6, text.c_str(), &parsed) == 1;
}

}  // namespace

ServeCommandLine::ServeCommandLine(CLI::App& program) {
    serve = program.add_subcommand("serve", "Let the browsers of phones be cameras.");
    serve->add_option("--port", serveOptions.port, "port of the camera page (default 9443)");
    serve->add_option("--address", serveOptions.address,
                      "IP address that the page is served on (default 0.0.0.0, which is all of IPv4; :: is "
                      "all of IPv6 too)");
    serve
        ->add_option(
            "--bind", bind,
            "IPv4 addresses of this machine, one for each phone, for hosts on other machines (default: "
            "127.0.1.1 and following, for hosts on this one)")
        ->type_name("A,B,C");
    serve->add_option("--state", serveOptions.state, kStateText)->type_name("DIR");
    CLI::Option* certificate =
        serve->add_option("--cert", serveOptions.certificate, "certificate chain to show (PEM), with --key")
            ->type_name("FILE");
    CLI::Option* key =
        serve->add_option("--key", serveOptions.key, "its private key (PEM)")->type_name("FILE");
    certificate->needs(key);
    key->needs(certificate);
    serve->add_option("--name", serveOptions.name,
                      "what the phones call this server (default: the machine's name)");
    serve->add_flag("--quiet", serveOptions.quiet, "say only what goes wrong");
    serve->add_flag("--events", serveOptions.events,
                    "write what happens as JSON, one object a line, instead of text; for a program that runs "
                    "this one");
    serve->footer(
        "The operator's page is open to this machine; other screens add the token that is kept in the state "
        "folder, in operator.token: https://.../operator?operatorToken=...");

    phones = program.add_subcommand("phones", "List the phones that were paired.");
    phones->add_option("--state", phonesOptions.state, kStateText)->type_name("DIR");

    revoke =
        program.add_subcommand("revoke", "Forget a phone that was paired; a running server ends its stream.");
    revoke->add_option("phone", revokeOptions.phone, "its name or identifier")->type_name("NAME")->required();
    revoke->add_option("--state", revokeOptions.state, kStateText)->type_name("DIR");
}

ServeCommandLine::Choice ServeCommandLine::Chosen() const {
    if (phones->parsed()) return phonesOptions;
    if (revoke->parsed()) return revokeOptions;
    if (!serve->parsed()) return std::monostate();
    ServeOptions options = serveOptions;
    if (!IsIpAddress(options.address)) throw CLI::ValidationError("--address", "not an IP address");
    for (const std::string& address : CLI::detail::split(bind, ',')) {
        if (address.empty()) continue;
        if (!IsIpv4(address))
            throw CLI::ValidationError("--bind", "\"" + address + "\" is not an IPv4 address");
        if (std::find(options.phoneAddresses.begin(), options.phoneAddresses.end(), address) ==
            options.phoneAddresses.end()) {
            options.phoneAddresses.push_back(address);
        }
    }
    if (!bind.empty() && options.phoneAddresses.empty())
        throw CLI::ValidationError("--bind", "names no address");
    return options;
}

}  // namespace petrel
