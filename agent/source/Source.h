// Where the inputs of the agent come from while it runs.
//
// A source writes the two input entities through their mutators, and only as differences: what
// stays is not touched, what has changed is changed once. It tells its host when a first full view
// is in the inputs; a time that has passed is never taken for that. Everything happens on the
// loop's thread.
//
//   start()  ->  linksKnown()  ->  viewComplete("start")  ->  changes, as they come
//                                  viewComplete(why)          after each resynchronise()
#pragma once

#include "agent/Inputs.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// What a source tells its host. Called from the loop or the scheduler; problem() also from within
/// start() and resynchronise(). No call may start, stop or resynchronise the source.
class SourceHost {
  public:
    /// The names of all current links are registered. Once after each start().
    virtual void linksKnown() = 0;
    /// A full view is in the inputs, and from here on they follow the changes. `why` is "start", or
    /// what resynchronise() was called for, or the source's own reason ("receive buffer overrun").
    virtual void viewComplete(std::string_view why) = 0;
    /// It cannot follow: the inputs stay as they are, and the source goes on trying. The message
    /// names the file or socket, place and value.
    virtual void problem(std::string_view message) = 0;
    /// What the last problem() was about is over.
    virtual void problemOver() = 0;
    /// An identifier is no current interface's any more: its name may be released once nothing
    /// holds it.
    virtual void retired(Iftel::IntfId id) = 0;

  protected:
    ~SourceHost() = default;
};

class Source {
  public:
    struct Counts {
        std::uint64_t changes = 0;  ///< messages or rows that were taken in
        std::uint64_t resyncs = 0;  ///< full views after the first
        std::uint64_t overruns = 0; ///< losses that led to one
    };

    virtual ~Source() = default;

    /// Begin. Throws an Error for what cannot work as it is (no such namespace, no permission), and
    /// has not begun then.
    virtual void start() = 0;
    /// Take a full view again, and apply the differences.
    virtual void resynchronise(std::string_view why) = 0;
    /// Follow no longer. The inputs stay as they are; start() begins anew.
    virtual void stop() noexcept = 0;

    /// "kernel, bridge br0" or "files links.json, vlans.json".
    [[nodiscard]] virtual std::string name() const = 0;
    /// A first full view is in the inputs.
    [[nodiscard]] virtual bool complete() const noexcept = 0;
    [[nodiscard]] virtual Counts counts() const noexcept = 0;
    /// Whether it may yet write this identifier into the inputs: its name must stay.
    [[nodiscard]] virtual bool uses(Iftel::IntfId id) const = 0;
    /// What it knows of an interface, a line each, for people: "link 7, vlan 100 on bond0, port of
    /// br0". Empty for one that it does not know.
    [[nodiscard]] virtual std::vector<std::string> describe(std::string_view intf) const = 0;
};

} // namespace Agent
