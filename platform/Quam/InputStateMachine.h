// Base of the machines that scan an input collection and then watch it.
//
// Such a machine scans in slices: doInputScan() handles entries until it is done or shouldYield()
// says to stop, and is called again until inputScanComplete().
//
//     notScanned --slice ends early--> interrupted --slice ends early--> interrupted
//         |                                |
//         +---------- end reached ---------+--> completeInitially   during the root's initial scan
//                                          +--> complete            after it
//
// completeInitially counts as complete only while initialScanDone() is false: once the root has
// done its initial scan, the machine is incomplete again, and its second scan starts from the first
// entry. complete is final.
//
// While a change notice is handled the in-reactor flag is set, and scans never yield.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/PtrInterface.h"

#include <cstdint>

namespace Quam::Gen {

enum class ScanState : std::uint8_t {
    notScanned = 0,
    interrupted = 1,      ///< resume at the bookmark
    complete = 2,         ///< and the root's initial scan was done already
    completeInitially = 3 ///< during the root's initial scan
};

/// The order of the virtual operations is part of the interface of generated types.
class NUVIO_EXPORT InputStateMachine : public Qor::PtrInterface {
  public:
    void qorDoZombieReactors(bool marked) noexcept override;

    [[nodiscard]] virtual bool inputScanComplete() const noexcept;
    /// Whether the root has done its initial scan.
    [[nodiscard]] virtual bool initialScanDone() const noexcept = 0;
    /// Handle entries of the input from where the last slice stopped.
    virtual void doInputScan() = 0;
    /// Make the scan's task, where the machine has one of its own.
    virtual void doInitializeTask() {}
    virtual void inReactorIs(bool inside) noexcept { inReactor_ = inside; }
    [[nodiscard]] virtual bool inReactor() const noexcept { return inReactor_; }
    [[nodiscard]] virtual bool synchronous() const noexcept = 0;
    /// Whether a scan should stop here and go on in a later slice.
    [[nodiscard]] virtual bool shouldYield() const noexcept = 0;

    [[nodiscard]] bool initialized() const noexcept { return initialized_; }
    [[nodiscard]] ScanState scanState() const noexcept { return scanState_; }

  protected:
    InputStateMachine() noexcept = default;
    ~InputStateMachine() override = default;

    /// End of construction, called by the constructor of the final class: sets the initialized
    /// flag, has the task made, and scans at once where nothing else would.
    ///   - A machine that is made inside its parent's scan is scanned by that.
    ///   - Otherwise a synchronous one scans here, and so does one that is made after the initial
    ///     scan and has no task: without yielding, so that what it stands for is in the output when
    ///     the notice that brought it returns.
    void handleInitialized();

    void scanStateIs(ScanState state) noexcept { scanState_ = state; }

    /// Set by the constructor of the final class before handleInitialized(): the parent is scanning
    /// and will call doInputScan() itself.
    bool parentIsScanning_ = false;

  private:
    ScanState scanState_ = ScanState::notScanned;
    bool inReactor_ = false;
    bool initialized_ = false;
};

/// Marks a machine as handling a change notice, as long as it lives.
template <class Machine> class InReactor {
  public:
    explicit InReactor(Machine &machine) noexcept : machine_(machine), outer_(machine.inReactor()) {
        machine_.inReactorIs(true);
    }
    ~InReactor() { machine_.inReactorIs(outer_); }
    InReactor(InReactor const &) = delete;
    InReactor &operator=(InReactor const &) = delete;

  private:
    Machine &machine_;
    bool outer_; ///< a notice inside a notice leaves the outer one's mark
};

} // namespace Quam::Gen
