#include "fuzz/Documents.h"

#include "agent/DirectoryDocument.h"
#include "agent/DirectoryView.h"
#include "agent/Error.h"
#include "agent/Snapshot.h"
#include "agent/Summary.h"
#include "agent/Table.h"
#include "platform/Iftel.h"
#include "tests/model/Entities.h"
#include "tests/model/Model.h"

#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

#include <array>

namespace Fuzz {
namespace {

using Agent::DirectoryView;
using Agent::InputFile;
using Agent::Snapshot;
using VlanSubIntfConfigLib::VlanSubIntfConfigDir;
using Directory = Qor::Ptr<VlanSubIntfConfigDir>;

constexpr std::size_t mostMembers = 1000;
/// Of the document that is written and read back.
constexpr unsigned writtenIndex = 2;

int descriptorOf(unsigned index) {
    static std::array<int, 3> const descriptors = {::memfd_create("0", 0), ::memfd_create("1", 0),
                                                   ::memfd_create("2", 0)};
    return descriptors.at(index);
}

std::size_t memberCount(Agent::Inputs const &inputs) {
    std::size_t count = 0;
    for (auto const &[vlan, config] : inputs.bridgingConfig->vlanConfig()) {
        count += config->intf().size();
    }
    return count;
}

Directory readDirectory(std::string const &path) {
    auto const directory = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    if (!path.empty()) {
        Agent::Progress progress;
        InputFile file(path, progress);
        Agent::readDirectoryDocument(file, *directory);
    }
    return directory;
}

void expectSame(Snapshot const &before, Snapshot const &after, std::string_view rule) {
    Snapshot::compare(before, after, [rule](Snapshot::Entry const & /*entry*/, auto change) {
        expect(change == Snapshot::Change::kept, rule);
    });
}

/// What `derive` prints, as a document and as a table; the document gives the directory again.
void print(VlanSubIntfConfigDir const &directory) {
    Document const written(writtenIndex);
    DirectoryView const view(directory);
    Agent::Output output = written.output();
    Agent::writeDirectoryDocument(output, view, true);
    expectSame(Snapshot(directory), Snapshot(*readDirectory(written.path())),
               "a document reads back as the directory that it was written from");
    writeTable(output, view);
}

/// Compare with the model, which goes by native texts: the names are dropped, and what a machine
/// sees of a name is its native text.
void compare(Agent::Inputs const &inputs, VlanSubIntfConfigDir const &found,
             VlanSubIntfConfigDir const &directory) {
    Iftel::NameTable::instance().resetForTest();
    auto const plain = Model::read(*inputs.bridgingConfig, *inputs.lagPhyIntfMapping);
    auto const expected = Model::afterStartUp(plain, Model::read(found));
    expect(expected == Model::read(directory), "the derivation is that of the model",
           Model::differences(expected, Model::read(directory)));
}

} // namespace

Document::Document(unsigned index, std::string_view text)
    : descriptor_(descriptorOf(index)), path_("/proc/self/fd/" + std::to_string(descriptor_)) {
    auto const size = static_cast<ssize_t>(text.size());
    expect(::ftruncate(descriptor_, 0) == 0 && ::lseek(descriptor_, 0, SEEK_SET) == 0 &&
               ::write(descriptor_, text.data(), text.size()) == size,
           "a file in memory can be written");
}

bool isPrintable(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        auto const next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (byte < ' ' || byte == 0x7F || (byte == 0xC2 && next < 0xA0)) {
            return false;
        }
    }
    try {
        static_cast<void>(nlohmann::json(text).dump());
        return true;
    } catch (nlohmann::json::type_error const &) {
        return false; // no UTF-8
    }
}

bool accepts(std::function<void()> const &read) {
    try {
        read();
        return true;
    } catch (Agent::Error const &error) {
        std::string_view const message = error.what();
        expect(message.starts_with("/proc/self/fd/"), "a message names the file", message);
        expect(isPrintable(message), "a message is one printable line", message);
        return false;
    }
}

void derive(Agent::Inputs const &inputs, Play const &play) {
    if (memberCount(inputs) > mostMembers) {
        return;
    }
    auto const directory = readDirectory(play.previous);
    auto const found = readDirectory(play.previous);
    Snapshot const before(*directory);
    expectSame(before, Snapshot(*found), "a document reads twice as the same directory");

    auto const run = Agent::makeMachine(inputs, directory, play.machine);
    Agent::Progress progress;
    Agent::runUntilIdle(run, inputs, progress);
    expect(run.machine->ready(), "the machine is ready when it is idle");
    static_cast<void>(
        summaryOf(play.previous, before, Snapshot(*directory), *inputs.lagPhyIntfMapping));
    print(*directory);
    compare(inputs, *found, *directory);
}

} // namespace Fuzz
