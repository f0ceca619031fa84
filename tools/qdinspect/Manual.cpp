#include "tools/qdinspect/Manual.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>
#include <sstream>
#include <string_view>
#include <vector>

// The manual page and the completions, from the description that parses the
// command line: what is not told here cannot be out of date. CLI11 has no such
// writers of its own.

namespace {

using Commands = std::vector<const CLI::App*>;
using CommandOptions = std::vector<const CLI::Option*>;

// An option group is a command without a name, to CLI11.
Commands CommandsOf(const CLI::App& app)
{
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_name().empty(); });
}

CommandOptions OptionsOf(const CLI::App& command)
{
    CommandOptions options = command.get_options(
        [](const CLI::Option* option) { return !option->get_group().empty(); }); // hidden without
    for (const CLI::App* group :
         command.get_subcommands([](const CLI::App* app) { return app->get_name().empty(); })) {
        const CommandOptions more = group->get_options(
            [&](const CLI::Option* option) { return option != group->get_help_ptr(); });
        options.insert(options.end(), more.begin(), more.end());
    }
    return options;
}

bool IsFlag(const CLI::Option& option)
{
    return option.get_items_expected_max() == 0;
}

std::string NameOf(const CLI::Option& option)
{
    return "--" + option.get_lnames().front();
}

std::string Replaced(std::string text, std::string_view old, std::string_view replacement)
{
    for (std::size_t at = text.find(old); at != std::string::npos;
         at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
    return text;
}

// The words that an option takes: "a|b" is one of two.
std::string ChoicesOf(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return type.find('|') == std::string::npos ? std::string() : Replaced(type, "|", " ");
}

// --- the manual page
// ------------------------------------------------------------------------------

std::string Roff(const std::string& text)
{
    const std::string escaped = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
    const bool isRequest = escaped.starts_with('.') || escaped.starts_with('\'');
    return isRequest ? "\\&" + escaped : escaped;
}

std::string UpperCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return text;
}

enum class EHeading { OfPage, InCommand };

// Lines of a footer: "Heading:", "  qdinspect ...", and below that what it
// does.
void WriteFooter(const std::string& footer, EHeading heading, std::ostream& out)
{
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t indent = (std::min)(line.find_first_not_of(' '), line.size());
        const std::string text = Roff(line.substr(indent));
        if (text.empty())
            out << ".PP\n";
        else if (indent == 0 && text.ends_with(':') && heading == EHeading::OfPage)
            out << ".SH " << UpperCase(text.substr(0, text.size() - 1)) << '\n';
        else if (indent == 0 && text.ends_with(':'))
            out << ".B " << text << "\n.br\n";
        else if (indent == 2 && text.starts_with("qdinspect"))
            out << ".TP\n.B " << text << '\n';
        else
            out << text << '\n';
    }
}

void WriteOption(const CLI::Option& option, std::ostream& out)
{
    out << ".TP\n";
    const std::string names = Roff(Replaced(option.get_name(false, true), ",", ", "));
    if (option.get_positional())
        out << ".I " << names << '\n';
    else if (IsFlag(option))
        out << ".B " << names << '\n';
    else
        out << ".BI \"" << names << " \" \"" << Roff(option.get_type_name()) << "\"\n";
    out << Roff(option.get_description()) << ".\n";
}

void WriteCommand(const CLI::App& command, std::ostream& out)
{
    out << ".SS " << Roff(command.get_name()) << '\n' << Roff(command.get_description()) << ".\n";
    for (const CLI::Option* option : OptionsOf(command))
        WriteOption(*option, out);
    out << ".PP\n";
    WriteFooter(command.get_footer(), EHeading::InCommand, out);
}

void WriteMan(const CLI::App& app, std::ostream& out)
{
    const std::string description = Roff(app.get_description());
    out << ".\\\" Made by qdinspect itself.\n"
        << ".TH QDINSPECT 1 \"\" \"" << app.version() << "\" \"User Commands\"\n"
        << ".SH NAME\nqdinspect \\- inspector of the files of qdcore\n"
        << ".SH SYNOPSIS\n.B qdinspect\n.RI [ COMMAND \"] [\" OPTIONS ] \" "
           "FILE\" \" [\" OTHER ]\n"
        << ".SH DESCRIPTION\n"
        << description << "\n.SH OPTIONS\n";
    for (const CLI::Option* option : OptionsOf(app))
        WriteOption(*option, out);
    out << ".SH COMMANDS\n";
    for (const CLI::App* command : CommandsOf(app))
        WriteCommand(*command, out);
    WriteFooter(app.get_footer(), EHeading::OfPage, out);
}

// --- the completions
// ------------------------------------------------------------------------------

std::string NamesOf(const Commands& commands, const char* separator)
{
    std::string names;
    for (const CLI::App* command : commands)
        names.append(names.empty() ? "" : separator).append(command->get_name());
    return names;
}

std::string WordsOf(const CLI::App& command)
{
    std::string words;
    for (const CLI::Option* option : OptionsOf(command)) {
        if (!option->get_positional())
            words.append(words.empty() ? "" : " ").append(NameOf(*option));
    }
    return words;
}

void WriteBashValues(const CLI::App& command, std::ostream& out)
{
    for (const CLI::Option* option : OptionsOf(command)) {
        if (option->get_positional() || IsFlag(*option))
            continue;
        const std::string choices = ChoicesOf(*option);
        out << "        " << command.get_name() << ',' << NameOf(*option)
            << ") mapfile -t COMPREPLY < <(compgen "
            << (choices.empty() ? "-d" : "-W \"" + choices + '"') << " -- \"$cur\"); return ;;\n";
    }
}

void WriteBash(const CLI::App& app, std::ostream& out)
{
    const Commands commands = CommandsOf(app);
    out << "# bash completion for qdinspect, made by itself\n"
           "_qdinspect()\n{\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD "
           "- 1]} command= "
           "word\n"
           "    [[ $cur == = ]] && cur=\n" // "--kind=" is two words, and what
                                           // follows a third
           "    [[ $prev == = ]] && prev=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n"
           "        case $word in\n"
           "            "
        << NamesOf(commands, " | ")
        << ") command=$word; break ;;\n"
           "        esac\n    done\n"
           "    case $command,$prev in\n";
    for (const CLI::App* command : commands)
        WriteBashValues(*command, out);
    out << "    esac\n    local words=\n    case $command in\n"
        << "        '') words=\"" << NamesOf(commands, " ") << ' ' << WordsOf(app) << "\" ;;\n";
    for (const CLI::App* command : commands)
        out << "        " << command->get_name() << ") [[ $cur == -* ]] && words=\""
            << WordsOf(*command) << "\" ;;\n";
    out << "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$cur\")\n"
           "}\n"
           "complete -o bashdefault -o default -F _qdinspect qdinspect\n";
}

std::string ZshText(const std::string& text)
{
    return Replaced(Replaced(Replaced(text, "'", "'\\''"), "[", "\\["), "]", "\\]");
}

void WriteZshOption(const CLI::Option& option, std::ostream& out)
{
    const std::string choices = ChoicesOf(option);
    out << " \\\n                '" << NameOf(option) << '[' << ZshText(option.get_description())
        << ']';
    if (!IsFlag(option))
        out << ':' << (choices.empty() ? "folder:_files -/" : "value:(" + choices + ')');
    out << '\'';
}

void WriteZsh(const CLI::App& app, std::ostream& out)
{
    out << "#compdef qdinspect\n# made by qdinspect itself\n_qdinspect()\n{\n"
           "    local curcontext=$curcontext state\n    local -a commands line\n "
           "   commands=(\n";
    for (const CLI::App* command : CommandsOf(app))
        out << "        '" << command->get_name() << ':' << ZshText(command->get_description())
            << "'\n";
    out << "    )\n    _arguments -C";
    for (const CLI::Option* option : OptionsOf(app))
        WriteZshOption(*option, out);
    out << " \\\n                '1: :->first' '*:: :->rest'\n"
           "    case $state in\n"
           "        first) _describe command commands; _files ;;\n"
           "        rest)\n            case $words[1] in\n";
    for (const CLI::App* command : CommandsOf(app)) {
        out << "            " << command->get_name() << ") _arguments";
        for (const CLI::Option* option : OptionsOf(*command)) {
            if (!option->get_positional())
                WriteZshOption(*option, out);
        }
        out << " \\\n                '*:file:_files' ;;\n";
    }
    out << "            *) _files ;;\n            esac ;;\n    "
           "esac\n}\n_qdinspect \"$@\"\n";
}

} // namespace

bool WriteManual(const CLI::App& app, const std::string& what, std::ostream& out)
{
    if (what == "man")
        WriteMan(app, out);
    else if (what == "bash")
        WriteBash(app, out);
    else if (what == "zsh")
        WriteZsh(app, out);
    else
        return false;
    return true;
}
