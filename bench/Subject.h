// What a benchmark drives: a system that holds the two inputs and keeps the output derived.
//
//     Machine     the library, through its public interface
//     Plain       the least that derives the same output: flat tables, no notices, no record
//     Observed    the usual shape: shared entities, observers, standard containers
//     Recompute   Plain, which forgets its output and builds it anew after every batch
//
// Each holds its own inputs, so the cost of writing them counts for all alike.
#pragma once

#include "bench/Workload.h"

#include <concepts>

namespace Bench {

template <class S>
concept Subject = std::default_initializable<S> &&
    requires(S subject, S const &reader, Member const &member, LagMember const &lagMember) {
    // Input writes. While the subject runs, the output follows; while not, only the inputs
    // change.
    subject.memberIs(member);
    subject.memberDel(member);
    subject.lagMemberIs(lagMember);
    subject.lagMemberDel(lagMember);
    /// The writes so far must be in the output.
    subject.batchEnd();

    /// Derive from the inputs as they are, taking over what the output holds; then follow.
    subject.start();
    /// Forget everything but the inputs and the output.
    subject.stop();

    { reader.checksum() } -> std::same_as<Checksum>;
    /// The output is built anew for each batch.
    { S::rebuilds } -> std::convertible_to<bool>;
};

template <Subject S> void load(S &subject, Workload const &workload) {
    for (LagMember const &lagMember : workload.lagMembers) {
        subject.lagMemberIs(lagMember);
    }
    for (Member const &member : workload.members) {
        subject.memberIs(member);
    }
}

template <Subject S> void apply(S &subject, Event const &event) {
    if (event.kind == EventKind::removed) {
        subject.memberDel(event.member);
    } else {
        subject.memberIs(event.member);
    }
}

template <Subject S> void apply(S &subject, LagEvent const &event) {
    if (event.add) {
        subject.lagMemberIs(event.member);
    } else {
        subject.lagMemberDel(event.member);
    }
}

} // namespace Bench
