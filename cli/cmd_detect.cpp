#include "cli/commands.h"

#include <stdexcept>

// placeholder
int runDetect(CliContext&, const QStringList&)
{
    throw std::runtime_error("the detect command is being written");
}
