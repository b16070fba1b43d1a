#include "Library.h"

#include "Terminal.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

namespace pelmor {

std::string ExecutableDirectory() {
    char buffer[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return "";
    std::string path(buffer, static_cast<std::size_t>(length));
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

Library::~Library() {
    if (handle_) {
        if (destroy) destroy();
        QuietStderr quiet;
        dlclose(handle_);
    }
}

std::vector<std::string> Library::Candidates(const std::string& explicitPath) {
    if (!explicitPath.empty()) return {explicitPath};
    if (const char* env = std::getenv("PELMOR_LIBRARY"); env && *env) return {env};
    std::vector<std::string> list;
    const std::string here = ExecutableDirectory();
    if (!here.empty()) {
        list.push_back(here + "/" PELMOR_LIBRARY_SONAME);
        list.push_back(here + "/../" PELMOR_INSTALL_LIBDIR "/" PELMOR_LIBRARY_SONAME);
    }
#ifdef PELMOR_LIBRARY_BUILD_PATH
    list.push_back(PELMOR_LIBRARY_BUILD_PATH);
#endif
    list.push_back(PELMOR_LIBRARY_SONAME);
    return list;
}

bool Library::Load(const std::string& explicitPath, std::string& error) {
    const std::vector<std::string> candidates = Candidates(explicitPath);
    std::string firstError;
    for (const std::string& candidate : candidates) {
        // A path that names no file is skipped quietly; only a plain soname goes to the loader's search.
        if (candidate.find('/') != std::string::npos && access(candidate.c_str(), F_OK) != 0) {
            if (firstError.empty() && candidates.size() == 1) firstError = candidate + ": no such file";
            continue;
        }
        {
            QuietStderr quiet;
            handle_ = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
        }
        if (!handle_) {
            if (firstError.empty()) firstError = dlerror();
            continue;
        }
        path_ = candidate;
        return Bind(error);
    }
    error = "cannot load libPelmorSocket: " + (firstError.empty() ? std::string("not found") : firstError);
    return false;
}

bool Library::Bind(std::string& error) {
    auto bind = [&](auto& function, const char* symbol) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(handle_, symbol));
        if (!function && error.empty()) error = path_ + ": export " + symbol + " is missing";
    };
    error.clear();
    bind(create, PelmorSocketSymbols::kCreate);
    bind(edition, PelmorSocketSymbols::kEdition);
    bind(instance, PelmorSocketSymbols::kInstance);
    bind(destroy, PelmorSocketSymbols::kDestroy);
    bind(fetchConfig, PelmorSocketSymbols::kFetchConfig);
    return error.empty();
}

}  // namespace pelmor
