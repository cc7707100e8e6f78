// The commands of `vlan-subintf inspect`: each is one use of the generic interface on a machine
// that is known only as an object. docs/ATTRIBUTES.md lists what there is to find.
#pragma once

#include "agent/AttributePath.h"
#include "platform/Qor/GenericIf.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

class Inspector {
  public:
    /// Takes finished output: lines for people, or one JSON document a command.
    using Sink = std::function<void(std::string_view)>;

    /// `machine` is what paths start from.
    Inspector(Qor::ObjectPtr const &machine, bool json, Sink sink);

    /// Run one command line; an empty line and a comment (#) do nothing. False: the operator wants
    /// to leave. Throws an Error; nothing was changed then, unless by what the command invoked.
    bool execute(std::string_view line);

    /// What may stand where `word` stands, the word behind `before` on the line: commands, then
    /// paths. Each candidate is a whole word, of a path up to the next step; it ends in a slash
    /// where that leads on.
    [[nodiscard]] std::vector<std::string> completions(std::string_view before,
                                                       std::string_view word) const;

  private:
    using Words = std::vector<std::string>;
    struct Command {
        std::string_view name;
        std::string_view arguments; ///< for the help; empty for none
        std::string_view purpose;
        std::size_t fewest;
        std::size_t most;
        void (Inspector::*run)(Words const &arguments); ///< null: leave
    };
    static constexpr std::size_t anyNumber = 64;
    [[nodiscard]] static std::vector<Command> const &commands();

    void types(Words const &arguments);
    void attrs(Words const &arguments);
    void get(Words const &arguments);
    void set(Words const &arguments);
    void del(Words const &arguments);
    void list(Words const &arguments);
    void size(Words const &arguments);
    void invoke(Words const &arguments);
    void run(Words const &arguments);
    void show(Words const &arguments);
    void trace(Words const &arguments);
    void census(Words const &arguments);
    void help(Words const &arguments);

    [[nodiscard]] AttributePath path(std::string_view text) const;
    [[nodiscard]] Qor::Value argument(Qor::Attribute const &attribute, std::size_t index,
                                      std::string_view text) const;
    [[nodiscard]] std::vector<Qor::Value> arguments(Qor::Attribute const &attribute,
                                                    std::size_t first, Words const &words) const;

    Qor::Value machine_;
    bool json_;
    Sink sink_;
};

/// The words of a line: blanks separate, double quotes hold together, a backslash inside quotes
/// takes the next character as it is. Throws an Error for a quote that is not closed.
[[nodiscard]] std::vector<std::string> wordsOf(std::string_view line);

} // namespace Agent
