// SPDX-License-Identifier: Apache-2.0
// A directory of its own for each test, the program as users run it, and small frames.
#ifndef QUORVEL_TESTS_HOST_SUPPORT_H_
#define QUORVEL_TESTS_HOST_SUPPORT_H_

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/io/formats.h"
#include "host/scene/scene.h"

namespace quorvel::host::test {

using Words = std::vector<std::uint16_t>;
using Bytes = std::vector<std::uint8_t>;

struct Outcome {
  int status;
  std::string out, err;
};

inline std::string contents(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

class InDirectory : public testing::Test {
 protected:
  InDirectory() {
    std::string name = (fs::temp_directory_path() / "quorvel-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no directory for the test");
    directory_ = name;
    fs::create_directory(directory_ / "work");
  }
  ~InDirectory() override { fs::remove_all(directory_); }

  fs::path at(const std::string& name) const { return directory_ / "work" / name; }
  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(at(name), std::ios::binary) << bytes;
  }

  // A shell line in the directory, "$Q" being the program.
  Outcome shell(const std::string& line) const {
    const fs::path out = directory_ / "out", err = directory_ / "err";
    const std::string whole = "cd '" + at("").string() + "' && Q='" QUORVEL_PROGRAM "' && { " + line + " ; } >'" +
                              out.string() + "' 2>'" + err.string() + "'";
    const int status = std::system(whole.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contents(out), contents(err)};
  }
  Outcome quorvel(const std::string& arguments) const { return shell("\"$Q\" " + arguments); }

  // Every name in the directory, hidden ones included.
  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(at(""))) {
      names.insert(fs::relative(entry.path(), at("")).string());
    }
    return names;
  }

  void write(const std::string& name, const RawFrame& frame) const {
    OutputFile out(at(name), true);
    writeRawFrame(out, frame, *rawFormatToWrite(name));
    out.commit();
  }

 private:
  fs::path directory_;
};

// The scene at a size that renders at once.
inline const Scene& smallScene() {
  static const Scene scene = renderScene({384, 256, 1});
  return scene;
}

inline bool builds(const char* format) {
  const auto formats = optionalFormats();
  return std::any_of(formats.begin(), formats.end(),
                     [&](const OptionalFormat& f) { return f.name == format && f.version.has_value(); });
}

}  // namespace quorvel::host::test

#endif  // QUORVEL_TESTS_HOST_SUPPORT_H_
