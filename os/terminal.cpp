#include "os/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace Os
{

STerminal ErrorTerminal()
{
    STerminal terminal;
    terminal.bTerminal = ::isatty(STDERR_FILENO) != 0;
    struct winsize size
    {
    };
    if (terminal.bTerminal && ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0)
        terminal.nColumns = size.ws_col;
    return terminal;
}

} // namespace Os
