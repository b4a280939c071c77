#include "Imaging/DescriptorOutput.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace
{

/// Whether the write that has just failed can be tried again; waits where that needs waiting.
bool CanRetryWrite(int inDescriptor)
{
    if (errno == EINTR)
    {
        return true;
    }
    if (errno != EAGAIN && errno != EWOULDBLOCK)
    {
        return false;
    }
    pollfd room{.fd = inDescriptor, .events = POLLOUT, .revents = 0};
    return poll(&room, 1, -1) > 0 || errno == EINTR;
}

} // namespace

bool WriteWhole(int inDescriptor, std::string_view inBytes)
{
    while (!inBytes.empty())
    {
        errno = 0;
        const ssize_t written = write(inDescriptor, inBytes.data(), inBytes.size());
        if (written > 0)
        {
            inBytes.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (!CanRetryWrite(inDescriptor))
        {
            return false;
        }
    }
    return true;
}
