#pragma once

#include <string>
#include <string_view>

namespace Os
{

/// From here on an interrupt (Ctrl-C, a request to end, a closed terminal) removes the files that ZInterruptRemoves
/// names and ends the process with this status. Without the call it ends as the system has it.
void ExitOnInterrupt(int nExitCode);

/// What an interrupt that ends the process says before: on standard output, and on standard error. The texts have to
/// live as long as the process.
void TellOnInterrupt(std::string_view output, std::string_view error);

/// For as long as one lives, a line is on its way to standard output: an interrupt that ends the process waits for it,
/// a second at most. The next one does not.
class ZLineUnderWay
{
public:
    ZLineUnderWay();
    ~ZLineUnderWay();
    ZLineUnderWay(const ZLineUnderWay&) = delete;
    ZLineUnderWay& operator=(const ZLineUnderWay&) = delete;
};

/// For as long as one lives, the first interrupt is only noted, and those of the next second or two with it. A later
/// one acts as if there were none.
class ZInterruptNote
{
public:
    ZInterruptNote();
    ~ZInterruptNote();
    ZInterruptNote(const ZInterruptNote&) = delete;
    ZInterruptNote& operator=(const ZInterruptNote&) = delete;
};
/// Whether one has been noted in this process.
bool Interrupted();

/// A file of this process that must not outlive an interrupt. A few at a time; more are not removed.
class ZInterruptRemoves
{
public:
    ZInterruptRemoves() = default;
    ~ZInterruptRemoves() { Forget(); }
    ZInterruptRemoves(const ZInterruptRemoves&) = delete;
    ZInterruptRemoves& operator=(const ZInterruptRemoves&) = delete;

    void Remember(const std::string& sPath);
    void Forget();

private:
    int m_nPlace = -1;
};

/// Whoever reads standard output may go: writing fails then, and does not end the process.
void IgnoreLostReaders();

/// In a process that is its parent's to end: interrupts of the whole group pass it by.
void IgnoreInterrupts();

} // namespace Os
