#include "apps/petrel/PhoneIdentity.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace petrel {
namespace {

constexpr const char* kDefaultName = "Petrel simulator";

// RFC 4122 section 4.3: an identifier made from a name space of our own and the address.
std::string IdentifierOf(const std::string& address) {
    const boost::uuids::uuid nameSpace =
        boost::uuids::string_generator()("7b0f6f0e-3d0c-4c53-9d0a-5a1f2a6c9e41");
    return boost::uuids::to_string(boost::uuids::name_generator_sha1(nameSpace)(address));
}

}  // namespace

PhoneIdentity MakePhoneIdentity(const std::string& address, const std::string& name, bool oneOfSeveral) {
    const std::string lastNumber = address.substr(address.rfind('.') + 1);
    PhoneIdentity identity{address, IdentifierOf(address), name.empty() ? kDefaultName : name};
    if (name.empty() || oneOfSeveral) identity.userName += " " + lastNumber;
    return identity;
}

}  // namespace petrel
