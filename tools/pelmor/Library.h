#pragma once

#include <pelmor/PelmorSocket.h>

#include <string>
#include <vector>

namespace pelmor {

// libPelmorSocket loaded with dlopen() and its exports bound by their linker symbols, as a desktop host
// binds them. Nothing of the library is linked into pelmor.
class Library {
  public:
    Library() = default;
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Where to look, in order: an explicit path (--library), $PELMOR_LIBRARY, next to the executable,
    // the install tree it sits in, the build tree it was built in, and finally the plain soname.
    static std::vector<std::string> Candidates(const std::string& explicitPath);

    // Loads the first candidate that opens and binds every export. On failure error says why.
    bool Load(const std::string& explicitPath, std::string& error);
    const std::string& Path() const { return path_; }

    PelmorCreateFunction create = nullptr;
    PelmorEditionFunction edition = nullptr;
    PelmorInstanceFunction instance = nullptr;
    PelmorDestroyFunction destroy = nullptr;
    PelmorFetchConfigFunction fetchConfig = nullptr;

  private:
    bool Bind(std::string& error);

    void* handle_ = nullptr;
    std::string path_;
};

// The directory of the running executable ("" when unknown).
std::string ExecutableDirectory();

}  // namespace pelmor
