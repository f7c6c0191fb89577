#pragma once

#include <ostream>

/// The manual page vxcompress(1), with every option of the table.
void writeManPage(std::ostream& out);
