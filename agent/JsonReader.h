// Reads a JSON document of any size as a stream of records: objects at chosen places, each built,
// handed to its handler, and forgotten. All else is checked to be JSON and skipped.
//
//     JsonReader reader(file);
//     reader.recordsIs("$[].vlans[]", {"vlan", "vlanEnd"}, [&](Record const &vlan) { ... });
//     reader.recordsIs("$[]", {"ifname", "vlans"}, [&](Record const &port) { ... });
//     reader.read();
//
// A place is "$" for the document, then "[]" for every element of an array and ".name" for a
// member. A record that stands inside another is handed out before it and is not kept in it: the
// outer one sees an empty array in its place. Members come in any order. Of a plain one that is
// repeated the last counts; the records of repeated lists are all handed out.
//
// Errors are thrown: for broken JSON with line and column, for a value of the wrong type on the way
// to a place with its path. The nesting of a document and
// the size of one record are limited, so that no file takes more memory than its contents deserve.
#pragma once

#include "agent/InputFile.h"
#include "agent/Record.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

class JsonReader {
  public:
    using Handler = std::function<void(Record const &)>;
    static constexpr std::size_t maxNesting = 32;
    static constexpr std::size_t maxRecordValues = std::size_t{1} << 20;

    explicit JsonReader(InputFile &file) : file_(file) {}

    /// Hand out the objects at `place`, with those of their members that are named.
    void recordsIs(std::string_view place, std::vector<std::string> members, Handler handler);
    /// Read the whole document. Requires: at least one call of recordsIs().
    void read();

    /// What is expected at a place on the way to records.
    struct Shape {
        bool isArray = false;                                                ///< else an object
        std::unique_ptr<Shape> element;                                      ///< of an array
        std::vector<std::pair<std::string, std::unique_ptr<Shape>>> members; ///< of an object
        std::vector<std::string> kept; ///< further members that a record keeps
        Handler handler;               ///< of a record; else empty
    };

  private:
    InputFile &file_;
    std::unique_ptr<Shape> root_;
};

} // namespace Agent
