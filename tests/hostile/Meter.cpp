#include "tests/hostile/Meter.h"

#include "platform/Qor/Pool.h"

#include <algorithm>
#include <utility>

namespace Hostile {

Notices::Notices(VlanSubIntfConfigLib::VlanSubIntfConfigDir &itsDir) : dir_(onDir, *this, itsDir) {
    for (auto const &[vlanId, config] : itsDir.config()) {
        listenTo(*config);
        for (auto const &[intfId, subIntf] : config->intf()) {
            listenTo(*subIntf);
        }
    }
}

std::uint64_t Notices::take() noexcept {
    return count_ - std::exchange(taken_, count_);
}

void Notices::listenTo(Config &config) {
    configs_.emplace_back(onConfig, *this, config);
}

void Notices::listenTo(VlanSubIntfConfigLib::VlanSubIntf &subIntf) {
    subIntf.publisher().subscriberAdd(subIntfs_.emplace_back(onSubIntf, this), false);
}

void Notices::onDir(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                    short /*attribute*/, void const *key, void const * /*reserved*/) noexcept {
    auto const &self = *static_cast<decltype(dir_) *>(subscriber->owner());
    ++self.all.count_;
    if (auto const config = self.entity.config(*static_cast<Bridging::VlanId const *>(key))) {
        self.all.listenTo(**config);
    }
}

void Notices::onConfig(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                       short /*attribute*/, void const *key, void const * /*reserved*/) noexcept {
    auto const &self = *static_cast<Listener<Config> *>(subscriber->owner());
    ++self.all.count_;
    if (auto const subIntf = self.entity.intf(*static_cast<Iftel::IntfId const *>(key))) {
        self.all.listenTo(**subIntf);
    }
}

void Notices::onSubIntf(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                        short /*attribute*/, void const * /*key*/,
                        void const * /*reserved*/) noexcept {
    ++static_cast<Notices *>(subscriber->owner())->count_;
}

void RecordingShare::runBegins() noexcept {
    runEnded();
    noticesAtBegin_ = notices_.count();
    ++record_.runs;
    record_.mostBytes = std::max(record_.mostBytes, liveBytes());
}

bool RecordingShare::isUsed() noexcept {
    ++record_.items;
    return ++items_ >= limit_;
}

void RecordingShare::runEnded() noexcept {
    record_.longest = std::max(record_.longest, std::exchange(items_, 0));
    std::uint64_t const notices =
        notices_.count() - std::exchange(noticesAtBegin_, notices_.count());
    record_.mostNotices = std::max(record_.mostNotices, notices);
}

std::uint64_t liveBytes() {
    std::uint64_t bytes = 0;
    for (Qor::CensusLine const &line : Qor::census()) {
        bytes += line.bytes;
    }
    return bytes;
}

} // namespace Hostile
