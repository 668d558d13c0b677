#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cairn::host {

/// An option or an argument of a command, for as long as the program's command line lives. Each function gives it again.
class OptionSyntax {
  public:
    explicit OptionSyntax(CLI::Option& option) : m_option(&option) {}

    OptionSyntax required();
    /// How the help names its value.
    OptionSyntax typeName(const std::string& name);
    /// It takes this many words.
    OptionSyntax expected(int count);
    /// It may be given several times, with one word each time.
    OptionSyntax oneEachTime();
    /// It may be given several times.
    OptionSyntax repeatable();

    /// What is wrong with a word, empty for nothing.
    using Check = std::function<std::string(const std::string& word)>;
    OptionSyntax check(const Check& refuse);
    OptionSyntax oneOf(const std::vector<std::string>& words);
    OptionSyntax between(int least, int most);

    /// Not together with the other one.
    OptionSyntax excludes(OptionSyntax other);
    /// Only together with the other one.
    OptionSyntax needs(OptionSyntax other);

  private:
    CLI::Option* m_option; ///< never null, not owned
};

/// What a command, or the program, takes on its command line. Only its source and the program's know the parser, which is
/// slow to compile.
class CommandSyntax {
  public:
    explicit CommandSyntax(CLI::App& app) : m_app(&app) {}

    CommandSyntax addCommand(const std::string& name, const std::string& description);
    /// One of its commands has to be given.
    void requireCommand();

    /// An argument, or with dashes an option, whose words are put into `target`, which must outlive the parsing. Of
    /// strings, `double`, `int`, `std::uint64_t`, `std::optional<double>` and vectors of strings, `double` and `int`.
    template <class Target>
    OptionSyntax addOption(const std::string& name, Target& target, const std::string& description = {});
    OptionSyntax addFlag(const std::string& name, bool& target, const std::string& description);

    /// What stands at the end of the help.
    void setFooter(const std::string& text);
    /// Has the help be what `help` says of the word given for `argument`, unless that is empty.
    void setHelpOn(const std::string& argument, std::function<std::string(const std::string& word)> help);
    /// Calls `work` when the command line was read and names this command.
    void onGiven(std::function<void()> work);

  private:
    CLI::App* m_app; ///< never null, not owned
};

} // namespace cairn::host
