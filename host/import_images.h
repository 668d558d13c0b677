#pragma once

#include "cairn/imaging/image.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// The regular file that a relative name leads to from the folder; none where there is none or where the name, a link on
/// the way included, leads outside. "\\" parts folders as "/" does.
std::optional<std::filesystem::path> fileInside(const std::filesystem::path& folder, std::string_view name);

/// Finds image files in one folder by the names that a file to be imported has for them. Whatever a name holds, and
/// wherever links in the folder lead, nothing outside the folder is given.
class ImportImages {
  public:
    /// More files and deeper folders than this are not looked at.
    static constexpr std::size_t MAX_FILES = 100000;
    static constexpr int MAX_DEPTH = 16;

    /// Without a folder nothing is found.
    ImportImages() = default;
    /// Lists the image files of the folder and those below it. Throws an `F_Exception*` where it cannot be listed.
    explicit ImportImages(const std::filesystem::path& folder);
    /// Looks in the folder only where a name leads, without listing it.
    static ImportImages withoutSearch(const std::filesystem::path& folder);

    /// The file that `name` names: with or without its ending, with or without the folders ahead of it, without regard to
    /// case. Folders count where several files fit; then the first in the order of their paths is it.
    std::optional<std::filesystem::path> find(std::string_view name) const;
    /// True where a name that is not found leads out of the folder, whether or not there is anything.
    bool leadsOutside(std::string_view name) const;
    /// How the folder has a file that `find` gave: its path from there, with "/".
    std::string nameInside(const std::filesystem::path& file) const;

  private:
    void list(const std::filesystem::path& folder, const std::string& inside, int depth);

    std::filesystem::path m_folder;
    std::vector<std::string> m_files;                         ///< below the folder, with "/", sorted
    std::map<std::string, std::vector<std::size_t>> m_byName; ///< last part in small letters without its ending
};

} // namespace cairn::host
