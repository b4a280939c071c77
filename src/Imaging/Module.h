#pragma once

/// Loads a module of this program and finds a function in it. Modules hold what few jobs need, so that no other job
/// pays for the libraries behind it; a run path in the program would cost every job the search in it. A module stays
/// loaded: its libraries may keep threads and caches that outlive any use of them. Null when there is no such module or
/// function, which is logged.
[[nodiscard]] void* LoadModuleSymbol(const char* inModule, const char* inFunction);

template <typename AFunction>
[[nodiscard]] AFunction* LoadModuleFunction(const char* inModule, const char* inFunction)
{
    return reinterpret_cast<AFunction*>(LoadModuleSymbol(inModule, inFunction));
}
