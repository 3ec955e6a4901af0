// Flags that are easily swapped, as types of their own.
#pragma once

namespace kv {

// Whether failures are reported with a message box.
enum class Quiet : bool { kNo, kYes };

// Whether a function shows a message box when what it looks for is missing.
enum class Report : bool { kNo, kYes };

// Whether what already exists is replaced.
enum class Overwrite : bool { kNo, kYes };

// Whether references to environment variables in a text are replaced.
enum class Expand : bool { kNo, kYes };

// Whether the directories below a directory, or the keys below a registry key, are taken as well.
enum class Recurse : bool { kNo, kYes };

}  // namespace kv
