// One run at a time per output folder.
#ifndef KOVRAL_TOOLS_RUN_LOCK_H
#define KOVRAL_TOOLS_RUN_LOCK_H

#include <string>

namespace kovral_tool {

// Name of the lock file in the output folder.
inline constexpr const char* kLockFileName = ".kovral-split.lock";

// Creates the output folder if missing and takes an advisory lock on the lock
// file in it, held until this process and its workers end; the file tells
// which run holds it. On failure (another run holds it, the folder cannot be
// written) returns false and sets error to one line naming the folder.
bool LockOutputFolder(const std::string& outDir, std::string& error);

// The same lock for a caller that releases it (a batch run from a process
// that lives on): the lock file's descriptor, closed to release it, or -1
// with error set.
int TakeOutputFolderLock(const std::string& outDir, std::string& error);

} // namespace kovral_tool

#endif
