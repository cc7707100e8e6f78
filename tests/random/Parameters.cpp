// How many cases each property has, and which: RC_PARAMS="max_success=50000" in the environment
// asks for more, RC_PARAMS="seed=..." for the same again. A case that fails is printed shrunk, with
// the parameters that repeat it. One that ends the process prints its history as it is, and the
// parameters printed here repeat the run.
#include "tests/support/Build.h"

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace {

/// Enough to find in a minute what the cases can find at all.
constexpr int casesOfAProperty = TestSupport::optimised ? 500 : 150;

bool parametersSet() {
    char const *const given = std::getenv("RC_PARAMS");
    std::string parameters = given ? given : "";
    auto const add = [&parameters](std::string const &name, auto value) {
        if (parameters.find(name + '=') == std::string::npos) {
            parameters += (parameters.empty() ? "" : " ") + name + '=' + std::to_string(value);
        }
    };
    add("max_success", casesOfAProperty);
    add("seed", std::random_device()());
    setenv("RC_PARAMS", parameters.c_str(), 1);
    std::cerr << "RC_PARAMS=\"" << parameters << "\"\n";
    return true;
}

[[maybe_unused]] bool const parametersAreSet = parametersSet();

} // namespace
