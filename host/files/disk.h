#pragma once

#include <string>

namespace files {

// What std::filesystem does not offer. Errors are the system's numbers (errno or GetLastError),
// 0 for success.

// Brings a file's content to the disk.
int FlushFile(const std::string& path);
// Brings a folder's list of names to the disk. Success where the system has no such operation.
int FlushFolder(const std::string& path);
// Gives a file the name, in one step, over a file that has it.
int RenameOver(const std::string& from, const std::string& to);
// Gives `to` the permissions, owner and group of `from`; what the system does not allow is left.
void CopyAttributes(const std::string& from, const std::string& to);
// Whether this process may write the file.
int CheckWritable(const std::string& path);

// Why the C library's last failing call failed.
int LastError();

// The text of a number of the system, and of an errno, in lower case as within a sentence.
std::string SystemMessage(int error);
std::string ErrnoMessage(int error);

}  // namespace files
