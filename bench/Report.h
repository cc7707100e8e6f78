// What one run of a subject says: figures, and the checksum after each workload. Printed as lines
// of comma-separated values:
//
//     <subject>,<workload>,<size>,<metric>,<value>
//     check,<subject>,<size>,<workload>,<sum>,<items>
#pragma once

#include "bench/Checksum.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Bench {

class Report {
  public:
    Report(std::string_view subject, std::string size)
        : subject_(subject), size_(std::move(size)) {}

    void figureAdd(std::string_view workload, std::string_view metric, double value) {
        figures_.push_back({workload, metric, value});
    }
    void checkAdd(std::string_view workload, Checksum const &checksum) {
        checks_.push_back({workload, checksum});
    }
    void print() const;

    struct Check {
        std::string_view workload;
        Checksum checksum;
        friend bool operator==(Check const &, Check const &) noexcept = default;
    };
    [[nodiscard]] std::vector<Check> const &checks() const noexcept { return checks_; }

  private:
    struct Figure {
        std::string_view workload;
        std::string_view metric;
        double value;
    };

    std::string_view subject_;
    std::string size_;
    std::vector<Figure> figures_;
    std::vector<Check> checks_;
};

} // namespace Bench
