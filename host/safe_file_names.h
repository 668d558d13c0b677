#pragma once

#include <map>
#include <string>
#include <string_view>

namespace cairn::host {

/// Makes names of files out of names that a level holds, for one folder: each names a plain file in that folder on any
/// system, and no two are equal, in any case of their letters.
class SafeFileNames {
  public:
    /// The longest name that is made, in bytes.
    static constexpr std::size_t MAX_LENGTH = 200;

    /// A name like `name` less the folders in it: bytes that a system may not take become "_", names of devices and
    /// hidden files get one ahead, one that was given already gets a number. `ending`, with its dot and as safe, is added
    /// unless the name ends so in any case of its letters.
    std::string make(std::string_view name, std::string_view ending);

  private:
    std::map<std::string, int> m_given; ///< names in small letters, with the number to try next
};

} // namespace cairn::host
