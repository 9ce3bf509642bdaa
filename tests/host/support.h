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

#include <fmt/format.h>
#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/wait.h>
#endif

#include "host/io/formats.h"
#include "host/io/system.h"
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
    static unsigned made = 0;
    directory_ = fs::temp_directory_path() / fmt::format("quorvel-test-{}-{}", processId(), ++made);
    fs::remove_all(directory_);
    fs::create_directories(directory_ / "work");
  }
  ~InDirectory() override { fs::remove_all(directory_); }

  fs::path at(const std::string& name) const { return directory_ / "work" / name; }
  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(at(name), std::ios::binary) << bytes;
  }

  // A line for the system's shell, in the directory.
  Outcome shell(const std::string& line) const {
    const fs::path out = directory_ / "out", err = directory_ / "err";
#ifdef _WIN32
    const int status = std::system(
        fmt::format("cd /d \"{}\" && {} >\"{}\" 2>\"{}\"", at("").string(), line, out.string(), err.string()).c_str());
#else
    const int ended = std::system(
        fmt::format("cd '{}' && {{ {} ; }} >'{}' 2>'{}'", at("").string(), line, out.string(), err.string()).c_str());
    const int status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
#endif
    const auto lines = [](std::string text) { return std::erase(text, '\r'), text; };
    return {status, lines(contents(out)), lines(contents(err))};
  }
  static std::string program() {
    return fmt::format("\"{}\"", fs::absolute(QUORVEL_PROGRAM).make_preferred().string());
  }
  Outcome quorvel(const std::string& arguments) const { return shell(program() + ' ' + arguments); }

  // Every name in the directory, hidden ones included.
  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(at(""))) {
      names.insert(fs::relative(entry.path(), at("")).generic_string());
    }
    return names;
  }

  // The program has to end with `status` and to say `says`.
  void expectRun(const std::string& arguments, int status, const std::string& says) const {
    const Outcome run = quorvel(arguments);
    EXPECT_EQ(run.status, status) << arguments << '\n' << run.err;
    EXPECT_NE((run.out + run.err).find(says), std::string::npos) << arguments << '\n' << run.out << run.err << says;
  }
  // And to say it in one line, with nothing left behind.
  void expectRefused(const std::string& arguments, int status, const std::string& says) const {
    const auto before = names();
    expectRun(arguments, status, says);
    const std::string said = contents(directory_ / "err");
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(said.rfind("quorvel: ", 0), 0u) << said;
    EXPECT_EQ(names(), before) << arguments;
  }

  void write(const std::string& name, const RawFrame& frame) const {
    OutputFile out(at(name), true);
    writeRawFrame(out, frame, *rawFormatToWrite(name));
    out.commit();
  }
  void write(const std::string& name, const Picture& picture) const {
    OutputFile out(at(name), true);
    writePicture(out, picture, *pictureFormatToWrite(name, picture.channels));
    out.commit();
  }

 private:
  fs::path directory_;
};

// A frame whose samples a rule gives.
template <typename Rule>
RawFrame frameOf(unsigned width, unsigned height, Rule&& rule) {
  RawFrame frame;
  frame.width = width;
  frame.height = height;
  for (unsigned i = 0; i < width * height; ++i) {
    frame.samples.push_back(static_cast<std::uint16_t>(rule(i % width, i / width)));
  }
  return frame;
}

inline unsigned siteOf(unsigned x, unsigned y) { return y % 2 * 2 + x % 2; }
inline constexpr std::size_t kColourOfSite[4] = {1, 0, 2, 1};

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
inline bool buildsFormatOf(const std::string& name) {
  return name.ends_with(".png") ? builds("PNG") : !name.ends_with(".tif") || builds("TIFF");
}

}  // namespace quorvel::host::test

#endif  // QUORVEL_TESTS_HOST_SUPPORT_H_
