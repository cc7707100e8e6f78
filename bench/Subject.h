// What the benchmark drives: a system that holds the two inputs and keeps the output derived.
//
//     Join<P0> ...   hand-written joins in different materials (Peers.h)
//     RecordingJoin  P0s: P0 that records what it writes in a start, and checks the output
//                    against that (RecordingJoin.h)
//     Sqlite         P3: tables and triggers (Sqlite.h)
//     Recompute      P4: all anew for every batch (Recompute.h)
//     Machine        the library, through its public interface (Machine.h)
//
// Each holds its own inputs, so the cost of writing them counts for all alike.
#pragma once

#include "bench/Checksum.h"
#include "bench/Workload.h"

#include <concepts>

namespace Bench {

template <class S>
concept Subject = std::default_initializable<S> &&
    requires(S subject, typename S::Ids::Vlan vlan, typename S::Ids::Intf intf,
             typename S::Ids::Config config, bool live) {
    // Input writes while nothing derives.
    subject.memberFill(vlan, intf, config);
    subject.memberUnfill(vlan, intf);
    subject.lagMemberFill(intf, intf);
    subject.lagMemberUnfill(intf, intf);

    /// From a start on, or until the next restart.
    subject.liveIs(live);
    // Input writes that the output follows, at the latest at the end of their batch.
    subject.memberIs(vlan, intf, config);
    subject.memberDel(vlan, intf);
    subject.lagMemberIs(intf, intf);
    subject.lagMemberDel(intf, intf);
    subject.batchBegin();
    subject.batchEnd();

    /// Derive from the inputs, over an empty output and over that of an earlier run.
    subject.start();
    subject.restart();

    { subject.checksum() } -> std::same_as<Checksum>;
    /// The output is built anew for each batch, so that a batch takes as long as a start.
    { S::rebuilds } -> std::convertible_to<bool>;
};

template <Subject S> void apply(S &subject, Event<typename S::Ids> const &event) {
    if (event.present) {
        subject.memberIs(event.vlan, event.intf, event.config);
    } else {
        subject.memberDel(event.vlan, event.intf);
    }
}

template <Subject S> void apply(S &subject, LagEvent<typename S::Ids> const &event) {
    if (event.present) {
        subject.lagMemberIs(event.lag, event.member);
    } else {
        subject.lagMemberDel(event.lag, event.member);
    }
}

template <Subject S> void load(S &subject, Workload<typename S::Ids> const &workload) {
    subject.batchBegin();
    for (auto const &lagMember : workload.lagMembers) {
        subject.lagMemberFill(lagMember.lag, lagMember.member);
    }
    for (auto const &member : workload.members) {
        subject.memberFill(member.vlan, member.intf, member.config);
    }
    subject.batchEnd();
}

/// What changes while nothing derives.
template <Subject S> void makeStale(S &subject, Workload<typename S::Ids> const &workload) {
    subject.batchBegin();
    for (auto const &member : workload.staleMembers) {
        subject.memberUnfill(member.vlan, member.intf);
    }
    for (auto const &event : workload.staleLags) {
        if (event.present) {
            subject.lagMemberFill(event.lag, event.member);
        } else {
            subject.lagMemberUnfill(event.lag, event.member);
        }
    }
    subject.batchEnd();
}

} // namespace Bench
