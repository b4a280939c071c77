#pragma once

#include <optional>

#include "Foundation/SettingsStore.h"
#include "Imaging/PPDFile.h"

/// The size that every host knows: A4, in points.
[[nodiscard]] APageSizeRecord GetA4PageSize();

/// The printer's size of that media name. None without a name, for a name that the printer description does not know,
/// and for a size without extent.
[[nodiscard]] std::optional<APageSizeRecord> FindPageSize(AOptionValue inName);

/// The size of a job that names no medium: of the option PageSize, else the printer's default, else A4.
[[nodiscard]] APageSizeRecord GetUsualPageSize();
