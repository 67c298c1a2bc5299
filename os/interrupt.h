#pragma once

#include <string>

namespace Os
{

/// From here on an interrupt (Ctrl-C, a request to end, a closed terminal) removes the files that ZInterruptRemoves
/// names and ends the process with this status. Without the call it ends as the system has it.
void ExitOnInterrupt(int nExitCode);

/// For as long as one lives, the first interrupt is only noted. The second acts as if there were none.
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

/// In a process that is its parent's to end: interrupts of the whole group pass it by.
void IgnoreInterrupts();

} // namespace Os
