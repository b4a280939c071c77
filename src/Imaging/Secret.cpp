#include "Imaging/Secret.h"

#include <cstring>

ASecret::~ASecret()
{
    if (!fBytes.empty())
    {
        // Unlike memset, this is never optimised away.
        explicit_bzero(fBytes.data(), fBytes.size());
    }
}

ASecret& ASecret::operator=(ASecret inOther) noexcept
{
    fBytes.swap(inOther.fBytes);
    return *this;
}
