#include "app/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace postkite::app {

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

int TemporaryDirectory::Make() {
    std::error_code error;
    std::string name = (std::filesystem::temp_directory_path(error) / "postkite-XXXXXX").string();
    if (error) return -error.value();
    if (mkdtemp(name.data()) == nullptr) return -errno;
    path_ = name;
    return 0;
}

}  // namespace postkite::app
