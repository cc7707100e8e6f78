// A folder of a test's own, gone with the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Agent {

inline std::string readFile(std::string const &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in) {
        throw std::runtime_error("cannot read " + path);
    }
    return text.str();
}

class TempDir {
  public:
    TempDir() {
        path_ = (std::filesystem::temp_directory_path() / "vlan-subintf-XXXXXX").string();
        if (!::mkdtemp(path_.data())) {
            throw std::runtime_error("cannot make " + path_);
        }
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(TempDir const &) = delete;
    TempDir &operator=(TempDir const &) = delete;

    /// Path of a file in the folder.
    [[nodiscard]] std::string file(std::string const &name) const { return path_ + "/" + name; }
    /// Write a file; returns its path.
    [[nodiscard]] std::string write(std::string const &name, std::string_view text) const {
        std::ofstream out(file(name), std::ios::binary);
        out << text;
        if (!out.flush()) {
            throw std::runtime_error("cannot write " + file(name));
        }
        return file(name);
    }

  private:
    std::string path_;
};

} // namespace Agent
