// SPDX-License-Identifier: Apache-2.0
// What goes wrong is said in one line, with the right exit status, and leaves nothing behind.
#include <fmt/format.h>

#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Failures : public InDirectory {
 protected:
  Failures() {
    write("good.pgm", frameOf(20, 18, [](unsigned, unsigned) { return 1000; }));
    put("other.pgm", contents(at("good.pgm")));
  }

  void expectOneLine(const Outcome& run, int status, const std::string& says) {
    EXPECT_EQ(run.status, status) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.err.rfind("quorvel: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(says), std::string::npos) << run.err;
  }
};

struct Case {
  const char* arguments;
  int status;
  const char* says;
};

TEST_F(Failures, BadInputsAreNamed) {
  const std::string bytes = "4 4\n255\n0123456789abcdef";
  for (const auto& [name, text] : {std::pair<const char*, std::string>{"empty.pgm", ""},
                                   {"text.xyz", "hello\n"},
                                   {"header.pgm", "P5\n12 x\n255\n"},
                                   {"nomaximum.pgm", "P5\n12 12\n"},
                                   {"ascii.pgm", "P2\n2 2\n255\n1 2 3 4\n"},
                                   {"maximum.pgm", "P5\n4 4\n65536\n0123456789abcdef0123456789abcdef"},
                                   {"cut.pgm", "P5\n20 18\n4095\nabc"},
                                   {"absurd.pgm", "P5\n4294967297 99999\n65535\n"},
                                   {"zero.pgm", "P5\n0 4\n255\n"},
                                   {"tiny.pgm", "P5\n2 2\n255\nabcd"},
                                   {"note.pgm", "P5\n# quorvel black 1,2,x,4\n" + bytes},
                                   {"levels.pgm", "P5\n# quorvel black 255\n" + bytes},
                                   {"black.pgm", "P5\n# quorvel black 9,300,9,9\n" + bytes},
                                   {"short.raw16", "abcdef"}}) {
    put(name, text);
  }
  fs::create_directory(at("folder.pgm"));
  const auto before = names();
  for (const Case& c : {
           Case{"nothing.pgm", 1, "nothing.pgm: does not exist"},
           Case{"folder.pgm", 1, "folder.pgm: is a directory"},
           Case{"empty.pgm", 1, "empty.pgm: is empty"},
           Case{"header.pgm", 1, "header.pgm: its header is damaged"},
           Case{"nomaximum.pgm", 1, "nomaximum.pgm: its header is damaged"},
           Case{"ascii.pgm", 1, "ascii.pgm: is not a binary PGM file"},
           Case{"maximum.pgm", 1, "maximum.pgm: claims a maximum of 65536"},
           Case{"cut.pgm", 1, "cut.pgm: is cut short: 3 of 720 bytes"},
           Case{"absurd.pgm", 1, "absurd.pgm: claims a size of 4294967297 x 99999"},
           Case{"zero.pgm", 1, "zero.pgm: claims a size of 0 x 4"},
           Case{"tiny.pgm", 1, "tiny.pgm: is smaller than"},
           Case{"note.pgm", 1, "note.pgm: its note 'black 1,2,x,4' makes no sense"},
           Case{"levels.pgm", 1, "levels.pgm: its note 'black 255' makes no sense"},
           Case{"black.pgm", 1, "black.pgm: black, 300, is not below white, 255"},
           Case{"short.raw16 --width 20 --height 18", 1, "short.raw16: holds 6 bytes; 20 x 18 samples take 720"},
           Case{"short.raw16", 2, "needs --width and --height"},
           Case{"text.xyz", 1,
                builds("camera raw") ? "text.xyz: is not an image" : "text.xyz: this build has no camera raws"},
           Case{"good.pgm --format tiff", 1,
                builds("TIFF") ? "good.pgm: is not a TIFF" : "good.pgm: this build has no TIFF"},
           Case{"good.pgm --truth nothing.ppm", 1, "nothing.ppm: does not exist"},
           Case{"good.pgm --truth good.pgm", 1, "good.pgm: is not a binary PPM"},
           Case{"good.pgm --white 100 --black 100", 1, "black, 100, is not below white, 100"},
           Case{"good.pgm --wb as-shot", 1, "good.pgm: tells no as-shot white balance"},
       }) {
    SCOPED_TRACE(c.arguments);
    expectOneLine(quorvel(std::string("develop -o out.ppm ") + c.arguments), c.status, c.says);
    EXPECT_EQ(names(), before);
  }
}

TEST_F(Failures, WrongArgumentsEndWithStatusTwo) {
  const auto before = names();
  for (const Case& c : {
           Case{"", 2, "subcommand is required"},
           Case{"develop", 2, "required"},
           Case{"develop good.pgm", 2, "--output is required"},
           Case{"develop good.pgm -o out.jpg", 2, "out.jpg: pictures are written as"},
           Case{"develop good.pgm -o out.ppm --wibble", 2, "--wibble"},
           Case{"develop good.pgm -o out.ppm --gamma nan", 2, "'nan' is not a number from 0.1 to 10"},
           Case{"develop good.pgm -o out.ppm --gamma 1e999", 2, "'1e999'"},
           Case{"develop good.pgm -o out.ppm --gamma 2.2x", 2, "'2.2x'"},
           Case{"develop good.pgm -o out.ppm --width 99999999999999999999", 2, "from 1 to 65535"},
           Case{"develop good.pgm -o out.ppm --width=-3", 2, "from 1 to 65535"},
           Case{"develop good.pgm -o out.ppm --bits 12", 2, "'12' is not 8 or 16"},
           Case{"develop good.pgm -o out.ppm --method best", 2, "'best' is not bilinear"},
           Case{"develop good.pgm -o out.ppm --wb 1,nan,1", 2, "'1,nan,1' is not as-shot"},
           Case{"develop good.pgm -o out.ppm --wb 1,0,1", 2, "is not as-shot"},
           Case{"develop good.pgm -o out.ppm --black 1,2", 2, "'1,2' is not a level"},
           Case{"develop good.pgm -o out.ppm --phase RGBG", 2, "'RGBG' is not GRBG"},
           Case{"develop good.pgm other.pgm -o out.ppm", 2, "several frames need a directory"},
           Case{"develop good.pgm ./good.pgm -o '{}.ppm'", 2, "two frames would both become good.ppm"},
           Case{"scene out.xyz", 2, "frames are written as"},
           Case{"scene out.pgm --width 63", 2, "from 64 to 16384"},
           Case{"scene out.pgm --seed -1", 2, "seed"},
           Case{"contact-sheet good.pgm -o sheet --crop a=1,2,3", 2, "'a=1,2,3' is not NAME=X,Y,WIDTH,HEIGHT"},
           Case{"info more 2", 2, "2"},
       }) {
    SCOPED_TRACE(c.arguments);
    expectOneLine(quorvel(c.arguments), c.status, c.says);
    EXPECT_EQ(names(), before);
  }
  for (const char* helpful : {"--help", "--version", "develop --help", "info"}) {
    const Outcome run = quorvel(helpful);
    EXPECT_EQ(run.status, 0) << helpful;
    EXPECT_FALSE(run.out.empty());
    EXPECT_TRUE(run.err.empty()) << run.err;
  }
}

TEST_F(Failures, NothingIsOverwrittenUnlessForced) {
  put("there.ppm", "precious");
  expectOneLine(quorvel("develop good.pgm -o there.ppm"), 1, "there.ppm: exists already; --force replaces it");
  EXPECT_EQ(contents(at("there.ppm")), "precious");
  // A run that fails later leaves what it was to replace.
  expectOneLine(quorvel("develop nothing.pgm -o there.ppm --force"), 1, "nothing.pgm");
  EXPECT_EQ(contents(at("there.ppm")), "precious");
  put("f.truth.ppm", "precious");
  expectOneLine(quorvel("scene f.pgm --width 64 --height 64"), 1, "f.truth.ppm: exists already");
  EXPECT_FALSE(fs::exists(at("f.pgm")));

#ifndef _WIN32  // where making a link takes special rights
  fs::create_symlink("there.ppm", at("link.ppm"));
  EXPECT_EQ(quorvel("develop good.pgm -o link.ppm --force").status, 0);
  EXPECT_TRUE(fs::is_symlink(at("link.ppm")));
  EXPECT_EQ(contents(at("there.ppm")).substr(0, 2), "P6");
#endif

  expectOneLine(quorvel("develop good.pgm -o good.pgm --type ppm --force"), 1, "good.pgm: is the frame itself");
  expectOneLine(quorvel("develop good.pgm -o nowhere/out.ppm"), 1, "nowhere/out.ppm: its directory does not exist");
}

#ifndef _WIN32  // neither full devices nor signals
TEST_F(Failures, FullDisksAreReported) {
  for (const char* name : {"full.png", "full.tif", "full.ppm"}) {
    SCOPED_TRACE(name);
    if (!builds(std::string(name) == "full.png" ? "PNG" : "TIFF") && std::string(name) != "full.ppm") continue;
    fs::create_symlink("/dev/full", at(name));
    expectOneLine(quorvel(fmt::format("develop good.pgm -o {}", name)), 1,
                  fmt::format("{}: cannot be written: No space left on device", name));
  }
  fs::create_symlink("/dev/full", at("frame.pgm"));
  const auto before = names();
  expectOneLine(quorvel("scene frame.pgm --width 64 --height 64"), 1, "frame.pgm: cannot be written");
  EXPECT_EQ(names(), before);
  EXPECT_EQ(quorvel("info >/dev/full").status, 1);
}

TEST_F(Failures, AnInterruptLeavesNothing) {
  const auto before = names();
  const Outcome run = shell(
      "\"$Q\" scene big.pgm --width 3000 --height 3000 & for i in $(seq 200); do ls -A | grep -q part && break; sleep "
      "0.05; "
      "done; ls -A | grep -c part; kill -TERM $!; wait $!");
  EXPECT_EQ(run.out, "3\n");  // it was at work
  EXPECT_EQ(run.status, 128 + 15);
  EXPECT_EQ(names(), before);
}
#endif

TEST_F(Failures, OneBadFrameDoesNotStopTheOthers) {
  put("bad.pgm", "P5\n20 18\n4095\nabc");
  const Outcome run = quorvel("develop good.pgm bad.pgm other.pgm -o 'made/' --type ppm");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "quorvel: bad.pgm: is cut short: 3 of 720 bytes of samples\nquorvel: 1 of 3 frames failed: bad.pgm\n");
  EXPECT_NE(run.out.find("good.pgm -> made/good.ppm: 20 x 18"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("other.pgm -> made/other.ppm"), std::string::npos) << run.out;
  EXPECT_EQ(names(),
            (std::set<std::string>{"bad.pgm", "good.pgm", "other.pgm", "made", "made/good.ppm", "made/other.ppm"}));
  EXPECT_EQ(quorvel("develop good.pgm other.pgm -o 'made/{}-again.ppm'").status, 0);
  EXPECT_TRUE(fs::exists(at("made/other-again.ppm")));
}

}  // namespace
}  // namespace quorvel::host::test
