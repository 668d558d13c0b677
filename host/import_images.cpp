#include "host/import_images.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "host/failure.h"

#include <algorithm>

namespace cairn::host {

namespace {

namespace fs = std::filesystem;

/// With "/" between folders and none at the ends.
std::string withSlashes(std::string_view name) {
    std::string path(name);
    std::replace(path.begin(), path.end(), '\\', '/');
    const std::size_t first = path.find_first_not_of('/');
    return first == std::string::npos ? "" : path.substr(first, path.find_last_not_of('/') - first + 1);
}

std::string_view lastPart(std::string_view path) { return path.substr(path.rfind('/') + 1); }

/// Without the ending that tells an image format, where there is one: names of textures may hold other dots.
std::string_view withoutImageEnding(std::string_view path) {
    for (const std::string_view ending : {".tga", ".scx", ".pcx", ".jpg", ".jpeg", ".png", ".bmp"})
        if (path.size() > ending.size() && asciiEqualNoCase(path.substr(path.size() - ending.size()), ending))
            return path.substr(0, path.size() - ending.size());
    return path;
}
bool isImage(std::string_view path) { return withoutImageEnding(path).size() < path.size(); }

/// How many parts at their ends both paths have in common.
int commonParts(std::string_view a, std::string_view b) {
    int parts = 0;
    for (; !a.empty() && !b.empty(); ++parts) {
        const std::string_view x = lastPart(a), y = lastPart(b);
        if (x != y)
            break;
        a.remove_suffix(std::min(a.size(), x.size() + 1));
        b.remove_suffix(std::min(b.size(), y.size() + 1));
    }
    return parts;
}

bool isInside(const fs::path& folder, const fs::path& file) {
    const auto [a, b] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    return a == folder.end() && b != file.end();
}

} // namespace

std::optional<fs::path> fileInside(const fs::path& folder, std::string_view name) {
    std::string text(name);
    std::replace(text.begin(), text.end(), '\\', '/');
    if (text.empty() || text.find('\0') != std::string::npos || fs::path(text).is_absolute())
        return std::nullopt;
    std::error_code error;
    const fs::path root = fs::canonical(folder.empty() ? fs::path(".") : folder, error);
    requireMemory(error);
    if (error)
        return std::nullopt;
    const fs::path file = fs::canonical(root / text, error);
    requireMemory(error);
    if (error || !isInside(root, file) || !fs::is_regular_file(file, error))
        return std::nullopt;
    return file;
}

ImportImages::ImportImages(const fs::path& folder) {
    std::error_code error;
    m_folder = fs::canonical(folder, error);
    if (!error && !fs::is_directory(m_folder, error))
        error = std::make_error_code(std::errc::not_a_directory);
    requireMemory(error);
    if (error)
        throw new F_Exception("Cannot list the folder: " + error.message());
    list(m_folder, "", 0);
    std::sort(m_files.begin(), m_files.end());
    for (std::size_t i = 0; i < m_files.size(); ++i)
        m_byName[asciiLowered(withoutImageEnding(lastPart(m_files[i])))].push_back(i);
}

ImportImages ImportImages::withoutSearch(const fs::path& folder) {
    ImportImages images;
    std::error_code error;
    images.m_folder = fs::canonical(folder.empty() ? fs::path(".") : folder, error);
    requireMemory(error);
    return images;
}

void ImportImages::list(const fs::path& folder, const std::string& inside, int depth) {
    std::error_code error;
    // A folder below that cannot be listed is as good as empty.
    for (fs::directory_iterator it(folder, error), end; !error && it != end && m_files.size() < MAX_FILES;
         it.increment(error)) {
        const std::string name = inside + it->path().filename().string();
        std::error_code odd;
        if (it->is_symlink(odd) ? fileInside(m_folder, name).has_value() : it->is_regular_file(odd)) {
            if (isImage(name))
                m_files.push_back(name);
        } else if (!it->is_symlink(odd) && it->is_directory(odd) && depth < MAX_DEPTH)
            list(it->path(), name + '/', depth + 1);
    }
    requireMemory(error);
}

std::optional<fs::path> ImportImages::find(std::string_view name) const {
    if (m_folder.empty())
        return std::nullopt;
    if (isImage(name))
        if (auto file = fileInside(m_folder, name))
            return file;
    const std::string wanted = asciiLowered(withSlashes(name));
    const std::string bare(withoutImageEnding(wanted));
    const std::vector<std::size_t>* candidates = nullptr;
    // A name may end like an image's and mean "name.tga.png"; the whole of it counts first.
    for (const std::string& text : {wanted, bare})
        if (const auto at = m_byName.find(std::string(lastPart(text))); at != m_byName.end() && !candidates)
            candidates = &at->second;
    if (!candidates)
        return std::nullopt;
    std::size_t best = 0;
    int most = -1;
    for (const std::size_t i : *candidates) {
        const std::string file = asciiLowered(m_files[i]);
        // A match of the ending, too, is better than one without, but folders count more.
        const int common = 2 * commonParts(withoutImageEnding(file), bare) + (lastPart(file) == lastPart(wanted));
        if (common > most) {
            most = common;
            best = i;
        }
    }
    return fileInside(m_folder, m_files[best]);
}

bool ImportImages::leadsOutside(std::string_view name) const {
    std::string text(name);
    std::replace(text.begin(), text.end(), '\\', '/');
    if (m_folder.empty() || text.empty() || text.find('\0') != std::string::npos)
        return false;
    std::error_code error;
    const fs::path place = fs::weakly_canonical(m_folder / text, error); // an absolute one replaces the folder
    requireMemory(error);
    return !error && place != m_folder && !isInside(m_folder, place);
}

std::string ImportImages::nameInside(const fs::path& file) const {
    return file.lexically_relative(m_folder).generic_string();
}

} // namespace cairn::host
