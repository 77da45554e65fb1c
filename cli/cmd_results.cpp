#include "cli/commands.h"

#include <stdexcept>

// placeholder
int runResults(CliContext&, const QStringList&)
{
    throw std::runtime_error("the results command is being written");
}
