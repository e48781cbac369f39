#include "host/core/zIDGenerator.h"

#include <algorithm>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

std::string zIDGenerator::GenerateUUID() {
    std::string text = boost::uuids::to_string(boost::uuids::random_generator()());
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return character >= 'a' && character <= 'f' ? static_cast<char>(character - 'a' + 'A') : character;
    });
    return text;
}
