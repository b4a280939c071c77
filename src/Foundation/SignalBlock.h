#pragma once

#include <csignal>

/// While it lives this thread takes no signal, and no thread that it starts ever will.
class ASignalBlock
{
public:
    ASignalBlock()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &fBefore);
    }
    ~ASignalBlock() { pthread_sigmask(SIG_SETMASK, &fBefore, nullptr); }
    ASignalBlock(const ASignalBlock&) = delete;
    ASignalBlock& operator=(const ASignalBlock&) = delete;

private:
    sigset_t fBefore{};
};
