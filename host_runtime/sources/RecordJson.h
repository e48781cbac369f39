// Settings records as JSON objects: the fields keep their names, the texts and numbers their types.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "host/core/zRecord.h"

namespace host_runtime {

// Makes the fields of `object` those of the record; members that no field can hold stay.
void WriteRecord(const zRecord& record, nlohmann::json& object);

// Reads texts, booleans and whole numbers; members of any other kind are left out.
zRecord ReadRecord(const nlohmann::json& object);

}  // namespace host_runtime
