// `petrel phones` and `petrel revoke`: both work on the state file, whether a server runs or not.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/petrel/serve/PhoneBook.h"
#include "apps/petrel/serve/ServeOptions.h"

namespace petrel {

// One line for each phone: name, identifier, address, when it was last seen.
std::string PhoneList(const std::vector<PairedPhone>& phones, std::int64_t now);

// Each returns the exit code: 0, 1 when there is no such phone, 2 when the state cannot be used.
int ListPhones(const PhonesOptions& options);
int RevokePhone(const RevokeOptions& options);

}  // namespace petrel
