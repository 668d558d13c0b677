#include "host/command_syntax.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <utility>

namespace cairn::host {

OptionSyntax OptionSyntax::required() {
    m_option->required();
    return *this;
}

OptionSyntax OptionSyntax::typeName(const std::string& name) {
    m_option->type_name(name);
    return *this;
}

OptionSyntax OptionSyntax::expected(int count) {
    m_option->expected(count);
    return *this;
}

OptionSyntax OptionSyntax::oneEachTime() {
    m_option->allow_extra_args(false);
    return *this;
}

OptionSyntax OptionSyntax::repeatable() {
    m_option->take_all()->expected(1);
    return *this;
}

OptionSyntax OptionSyntax::check(const Check& refuse) {
    m_option->check(refuse);
    return *this;
}

OptionSyntax OptionSyntax::oneOf(const std::vector<std::string>& words) {
    m_option->check(CLI::IsMember(words));
    return *this;
}

OptionSyntax OptionSyntax::between(int least, int most) {
    m_option->check(CLI::Range(least, most));
    return *this;
}

OptionSyntax OptionSyntax::excludes(OptionSyntax other) {
    m_option->excludes(other.m_option);
    return *this;
}

OptionSyntax OptionSyntax::needs(OptionSyntax other) {
    m_option->needs(other.m_option);
    return *this;
}

CommandSyntax CommandSyntax::addCommand(const std::string& name, const std::string& description) {
    return CommandSyntax(*m_app->add_subcommand(name, description));
}

void CommandSyntax::requireCommand() { m_app->require_subcommand(1); }

template <class Target>
OptionSyntax CommandSyntax::addOption(const std::string& name, Target& target, const std::string& description) {
    return OptionSyntax(*m_app->add_option(name, target, description));
}
template OptionSyntax CommandSyntax::addOption(const std::string&, std::string&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, double&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, int&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, std::uint64_t&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, std::optional<double>&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, std::vector<std::string>&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, std::vector<double>&, const std::string&);
template OptionSyntax CommandSyntax::addOption(const std::string&, std::vector<int>&, const std::string&);

OptionSyntax CommandSyntax::addFlag(const std::string& name, bool& target, const std::string& description) {
    return OptionSyntax(*m_app->add_flag(name, target, description));
}

void CommandSyntax::setFooter(const std::string& text) { m_app->footer(text); }

void CommandSyntax::setHelpOn(const std::string& argument, std::function<std::string(const std::string& word)> help) {
    const std::shared_ptr<CLI::FormatterBase> usual = m_app->get_formatter();
    m_app->formatter_fn([=](const CLI::App* app, std::string name, CLI::AppFormatMode mode) {
        const auto& words = app->get_option(argument)->results();
        const std::string text = words.empty() ? "" : help(words.front());
        return text.empty() ? usual->make_help(app, std::move(name), mode) : text;
    });
}

void CommandSyntax::onGiven(std::function<void()> work) { m_app->callback(std::move(work)); }

} // namespace cairn::host
