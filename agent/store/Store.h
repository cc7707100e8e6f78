// What keeps the directory from one run of the agent to the next.
//
// load() fills a directory with the entries of the last run; write() appends changes, in their
// order, each call in one transaction. Whatever instant the process is killed at, a store opens
// again and holds what some prefix of the written changes makes.
//
// A failure throws an Error that names the file and what is wrong with it; then nothing of that
// call is in the store, and nothing that was in it is lost. A store that could not be opened is not
// touched: its file stays for whoever looks into it.
#pragma once

#include "agent/service/DirectoryJournal.h"
#include "platform/Osk.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Agent {

class Store {
  public:
    virtual ~Store() = default;

    /// Enter the next entries of the last run into `directory`, until `task` should yield. Names
    /// that are not current become interfaces that nothing else refers to (agent/Names.h). True
    /// when all are in.
    [[nodiscard]] virtual bool load(DirectoryJournal::Directory &directory,
                                    Osk::Task const &task) = 0;

    /// Write changes from the front of `changes` in one transaction, until `task` should yield;
    /// returns how many. Between replace() and replaceDone() they go into that transaction.
    virtual std::size_t write(std::span<DirectoryChange const> changes, Osk::Task const &task) = 0;

    /// Replace all that the store holds by what `directory` holds, in one transaction that readers
    /// see as a whole, in slices: call it until it returns true, then write() the changes that the
    /// directory has seen since the first call, then replaceDone(). What the store held is read
    /// first: one that cannot be read is left as it is.
    [[nodiscard]] virtual bool replace(DirectoryJournal::Directory const &directory,
                                       Osk::Task const &task) = 0;
    /// End the transaction of replace(). Requires: that has returned true.
    virtual void replaceDone() = 0;
    /// Give up a replace() under way; the store is as it was before it.
    virtual void replaceUndone() noexcept = 0;

    /// It is of no use any more: its file was moved, deleted or is damaged. One that is opened anew
    /// has to be replaced.
    [[nodiscard]] virtual bool lost() const noexcept = 0;

    /// Pages in its write-ahead log behind the last transaction; begins anew when all were copied
    /// into the database (agent/store/Checkpointer.h).
    [[nodiscard]] virtual int logPages() const noexcept = 0;
};

/// Open the store in the file `path`, made empty when it does not exist, in folders made as needed.
/// Throws an Error.
[[nodiscard]] std::unique_ptr<Store> openSqliteStore(std::string const &path);

} // namespace Agent
