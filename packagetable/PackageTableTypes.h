#pragma once

namespace PackageTable
{
// How the regular expression of the filter bar is compared with packages.
enum Mode { Filter = 0, Search = 1 };

// Which packages the state box lets through.
enum StateFilter { Updatable = 0, Installable = 1, Removable = 2, All = 3 };
} // namespace PackageTable
