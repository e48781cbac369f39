// Who a simulated phone says it is.
#pragma once

#include <string>

namespace petrel {

struct PhoneIdentity {
    std::string address;
    std::string peersIdentifier;  // the same for the same address, at every start
    std::string userName;
};

// `name` empty gives "Petrel simulator" and the last number of the address. Several phones of one name are
// told apart by that number too.
PhoneIdentity MakePhoneIdentity(const std::string& address, const std::string& name, bool oneOfSeveral);

}  // namespace petrel
