// Text forms of values: what does not parse throws a RangeException and nothing else; what parses
// prints and reads back as an equal value.
//
//     <type> <text>                    one value, by the table `types`
//     'c' <readings> NUL <text>        readings of a CharRange, one a byte, against slow ones
#include "VlanSubIntfConfigLib/OutputKeys.h"
#include "fuzz/Fuzzer.h"
#include "platform/Bridging.h"
#include "platform/Iftel.h"
#include "platform/Osk.h"
#include "platform/Qor/Text.h"
#include "platform/Qor/Value.h"

#include <array>
#include <string>
#include <string_view>

namespace {

using Fuzz::expect;
using Qor::CharRange;
using Qor::RangeException;
using Qor::ValueTraits;
using VlanSubIntfConfigLib::ConfigIntfOutputKey;
using VlanSubIntfConfigLib::LagPhyIntfOutputKey;

/// Whether `read` reads; a RangeException, with words in it, says that it does not.
template <class Read> bool reads(std::string_view text, Read read) {
    try {
        read();
        return true;
    } catch (RangeException const &error) {
        expect(!std::string_view(error.what()).empty(), "an error has a message", text);
        return false;
    }
}

// A whole text as one value.

template <class T> void roundTrip(std::string_view text) {
    reads(text, [text] {
        T const value = ValueTraits<T>::parse(text);
        std::string const printed = ValueTraits<T>::text(value);
        T const again = ValueTraits<T>::parse(printed);
        expect(again == value, "what is printed reads back as an equal value", printed);
        expect(ValueTraits<T>::text(again) == printed, "equal values print alike", printed);
    });
}

/// The same at the front of a range: the reading stops where the value ends.
template <class T> void prefix(std::string_view text) {
    CharRange range(text);
    reads(text, [&range, text] {
        T const value(range);
        expect(range.rest() == text.substr(range.offset()), "the rest follows the value", text);
        auto const own = text.substr(0, range.offset());
        expect(Qor::strepToValue<T>(Qor::String(own), nullptr) == value,
               "what was read is the value's whole text", own);
        auto const printed = valueToStrep(value);
        expect(Qor::strepToValue<T>(printed, nullptr) == value,
               "what is printed reads back as an equal value", printed.view());
    });
}

template <class T> void wholeAndPrefix(std::string_view text) {
    roundTrip<T>(text);
    prefix<T>(text);
}

struct Type {
    char letter;
    void (*play)(std::string_view text);
};
constexpr std::array types = {
    Type{'b', roundTrip<bool>},
    Type{'3', roundTrip<std::uint32_t>},
    Type{'6', roundTrip<std::uint64_t>},
    Type{'s', roundTrip<Qor::String>},
    Type{'o', roundTrip<Qor::ObjectPtr>},
    Type{'v', wholeAndPrefix<Bridging::VlanId>},
    Type{'i', wholeAndPrefix<Iftel::IntfId>},
    Type{'d', roundTrip<Bridging::AllowedTrafficDirection>},
    Type{'p', roundTrip<Bridging::VlanPortConfig>},
    Type{'P', roundTrip<Qor::Optional<Bridging::VlanPortConfig>>},
    Type{'O', roundTrip<Qor::Optional<Qor::Ptr<Bridging::VlanConfig>>>},
    Type{'t', roundTrip<Osk::TaskPriority>},
    Type{'k', wholeAndPrefix<ConfigIntfOutputKey>},
    Type{'l', wholeAndPrefix<LagPhyIntfOutputKey>},
};

// The readings of a CharRange.

constexpr std::array<std::string_view, 5> literals = {"", "'", "True", "'k0': ", "Value("};
constexpr std::array<std::uint64_t, 5> limits = {0, 9, 4094, 65535, ~std::uint64_t{0}};

/// Length of the decimal at the front if it is at most `limit`, else 0.
std::size_t slowNumber(std::string_view text, std::uint64_t limit, std::uint64_t &number) {
    std::size_t length = 0;
    bool fits = true;
    for (number = 0; length < text.size() && text[length] >= '0' && text[length] <= '9'; ++length) {
        auto const digit = static_cast<unsigned>(text[length] - '0');
        fits = fits && digit <= limit && number <= (limit - digit) / 10;
        number = fits ? number * 10 + digit : 0;
    }
    return fits ? length : 0;
}

/// Length of the quoted name at the front, else 0.
std::size_t slowQuoted(std::string_view text, std::string &name) {
    for (std::size_t i = 1; text.starts_with('\'') && i < text.size(); ++i) {
        if (text[i] == '\'') {
            return i + 1;
        }
        i += text[i] == '\\' ? 1U : 0U;
        name += i < text.size() ? text[i] : '\0';
    }
    return 0;
}

/// One reading: it moves the range by as much as the slow one says, or leaves it and throws.
void readingOf(CharRange &range, std::uint8_t byte) {
    auto const before = range.rest();
    auto const offset = range.offset();
    std::size_t length = 0;
    bool done = false;
    bool wanted = true;
    auto const literal = literals[byte / 8 % literals.size()];
    if (byte % 5 <= 1) {
        bool const needed = byte % 5 == 0;
        wanted = before.starts_with(literal);
        length = wanted ? literal.size() : 0;
        done =
            needed ? reads(before, [&] { range.needString(literal); }) : range.takeString(literal);
    } else if (byte % 5 == 2) {
        std::uint64_t slow = 0;
        auto const limit = limits[byte / 8 % limits.size()];
        length = slowNumber(before, limit, slow);
        wanted = length > 0;
        done = reads(before, [&] {
            expect(range.needNumber(limit) == slow, "the number is that of its digits", before);
        });
    } else if (byte % 5 == 3) {
        std::string slow;
        length = slowQuoted(before, slow);
        wanted = length > 0;
        done = reads(before, [&] {
            expect(range.needQuoted() == slow, "the name is what stands in the quotes", before);
            auto const quoted = Qor::quotedStrep(slow);
            expect(CharRange(quoted.view()).needQuoted() == slow, "a quoted name reads back",
                   quoted.view());
        });
    } else {
        wanted = before.empty();
        done = reads(before, [&] { range.checkAllDataConsumed(); });
    }
    expect(done == wanted, "a range reads what stands there", before);
    expect(range.offset() == offset + length && range.rest() == before.substr(length),
           "a range moves by what it has read", before);
}

void playCharRange(Fuzz::Bytes bytes) {
    auto const readings = bytes.nextUntil('\0');
    CharRange range(bytes.rest());
    for (char const reading : readings) {
        readingOf(range, static_cast<std::uint8_t>(reading));
    }
}

/// Names that have to be escaped, that hide native ones, and that look like other texts.
void registerNames() {
    auto &table = Iftel::NameTable::instance();
    auto const bond = table.intfIs("bond0", Iftel::IntfKind::portChannel);
    table.subIntfIs("bond0.7", bond);
    table.subIntfIs("Ethernet4", bond);
    table.intfIs("it's", Iftel::IntfKind::ethernet);
    table.intfIs("a\\'b\\", Iftel::IntfKind::ethernet);
    table.intfIs("None", Iftel::IntfKind::ethernet);
    table.intfIs(std::string_view("z\0ro", 4), Iftel::IntfKind::ethernet);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const *data, std::size_t size) {
    [[maybe_unused]] static bool const registered = (registerNames(), true);
    Fuzz::Bytes bytes(data, size);
    auto const letter = static_cast<char>(bytes.next());
    if (letter == 'c') {
        playCharRange(bytes);
    }
    for (Type const &type : types) {
        if (type.letter == letter) {
            type.play(bytes.rest());
        }
    }
    return 0;
}
