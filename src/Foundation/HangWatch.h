#pragma once

#include <sys/types.h>
#include <thread>

/// Watches a group of processes from a thread, and ends them when they hang: one has ended, the others sleep, and
/// nothing has changed for some seconds.
///
/// A CUPS filter that feeds an interpreter through a pipe and holds the pipe's other end too does that as soon as the
/// interpreter gives up on a job that is longer than the pipe.
class AHangWatch
{
public:
    /// The group's number must stay taken while the watch lives. The watch ends with the object, at once.
    explicit AHangWatch(pid_t inGroup);

private:
    std::jthread fThread; ///< none where the system had no thread to spare
};
