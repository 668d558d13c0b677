#pragma once

#include <stdlib.h>

#include <filesystem>
#include <string>

namespace cairn::test {

/// A folder of its own that goes away with the object.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "cairn_test_XXXXXX").string();
        m_path = ::mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path path(const std::string& name) const { return m_path / name; }

  private:
    std::filesystem::path m_path;
};

} // namespace cairn::test
