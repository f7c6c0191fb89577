#pragma once

#include <ostream>

/// What the shells complete, with every option of the table.
void writeBashCompletion(std::ostream& out);
void writeZshCompletion(std::ostream& out);
void writeFishCompletion(std::ostream& out);
