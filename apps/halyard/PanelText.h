// A settings panel as text, whatever its layout. [main-thread]
#pragma once

#include <string>
#include <vector>

#include "host/ui/eDialogOptions.h"
#include "host_runtime/ui/Form.h"

namespace halyard {

// One line for each row, the values below each other; printable, without line feeds.
std::vector<std::string> PanelLines(const std::vector<host_runtime::FormRow>& rows);

// A row by itself, such as "Status: Connected".
std::string RowText(const host_runtime::FormRow& row);

std::string AlertText(const eDialogOptions& alert);

}  // namespace halyard
