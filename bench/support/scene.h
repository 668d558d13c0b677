#pragma once

#include <string>
#include <vector>

namespace cairn::bench {

class Report;

/// A scene of the benchmark program: what one file of `bench/` measures. A static object registers it.
class Scene {
  public:
    using Measure = void (*)(Report&);

    /// `name` is the file's; `about` says in a sentence what it measures; `measure` adds rows and limits to a report.
    Scene(std::string name, std::string about, Measure measure);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    const std::string& name() const { return m_name; }
    const std::string& about() const { return m_about; }
    void addTo(Report& report) const { m_measure(report); }

    /// All scenes of the program, by name.
    static std::vector<const Scene*> all();
    /// The scene of that name, or null.
    static const Scene* find(const std::string& name);

  private:
    std::string m_name, m_about;
    Measure m_measure;
};

} // namespace cairn::bench
