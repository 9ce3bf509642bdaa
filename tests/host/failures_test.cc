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
};

TEST_F(Failures, BadInputsAreNamed) {
  const std::string bytes = "4 4\n255\n0123456789abcdef";
  const struct {
    const char* name;
    std::string contents, says;
  } files[] = {{"empty.pgm", "", "is empty"},
               {"header.pgm", "P5\n12 x\n255\n", "its header is damaged"},
               {"nomaximum.pgm", "P5\n12 12\n", "its header is damaged"},
               {"ascii.pgm", "P2\n2 2\n255\n1 2 3 4\n", "is not a binary PGM file"},
               {"maximum.pgm", "P5\n4 4\n65536\n" + std::string(32, 'a'), "claims a maximum of 65536"},
               {"cut.pgm", "P5\n20 18\n4095\nabc", "is cut short: 3 of 720 bytes"},
               {"absurd.pgm", "P5\n4294967297 99999\n65535\n", "claims a size of 4294967297 x 99999"},
               {"zero.pgm", "P5\n0 4\n255\n", "claims a size of 0 x 4"},
               {"tiny.pgm", "P5\n2 2\n255\nabcd", "is smaller than"},
               {"note.pgm", "P5\n# quorvel black 1,2,x,4\n" + bytes, "its note 'black 1,2,x,4' makes no sense"},
               {"levels.pgm", "P5\n# quorvel black 255\n" + bytes, "its note 'black 255' makes no sense"},
               {"black.pgm", "P5\n# quorvel black 9,300,9,9\n" + bytes, "black, 300, is not below white, 255"},
               {"text.xyz", "hello\n", builds("camera raw") ? "is not an image" : "this build has no camera raws"}};
  for (const auto& f : files) {
    put(f.name, f.contents);
    expectRefused(fmt::format("develop {} -o out.ppm", f.name), 1, fmt::format("{}: {}", f.name, f.says));
  }
  put("short.raw16", "abcdef");
  fs::create_directory(at("folder.pgm"));
  for (const auto& [arguments, says] :
       {std::pair{"nothing.pgm", "nothing.pgm: does not exist"},
        {"folder.pgm", "folder.pgm: is a directory"},
        {"short.raw16 --width 20 --height 18", "short.raw16: holds 6 bytes; 20 x 18 samples take 720"},
        {"good.pgm --format tiff", builds("TIFF") ? "good.pgm: is not a TIFF" : "good.pgm: this build has no TIFF"},
        {"good.pgm --truth nothing.ppm", "nothing.ppm: does not exist"},
        {"good.pgm --truth good.pgm", "good.pgm: is not a binary PPM"},
        {"good.pgm --white 100 --black 100", "black, 100, is not below white, 100"},
        {"good.pgm --wb as-shot", "good.pgm: tells no as-shot white balance"}}) {
    expectRefused(fmt::format("develop -o out.ppm {}", arguments), 1, says);
  }
  expectRefused("develop -o out.ppm short.raw16", 2, "needs --width and --height");
}

TEST_F(Failures, WrongArgumentsEndWithStatusTwo) {
  for (const auto& [arguments, says] :
       {std::pair{"", "subcommand is required"},
        {"develop", "required"},
        {"develop good.pgm", "--output is required"},
        {"develop good.pgm -o out.jpg", "out.jpg: pictures are written as"},
        {"develop good.pgm -o out.ppm --wibble", "--wibble"},
        {"develop good.pgm -o out.ppm --gamma nan", "'nan' is not a number from 0.1 to 10"},
        {"develop good.pgm -o out.ppm --gamma 2.2x", "'2.2x'"},
        {"develop good.pgm -o out.ppm --width=-3", "from 1 to 65535"},
        {"develop good.pgm -o out.ppm --bits 12", "'12' is not 8 or 16"},
        {"develop good.pgm -o out.ppm --method best", "'best' is not bilinear"},
        {"develop good.pgm -o out.ppm --wb 1,nan,1", "'1,nan,1' is not as-shot"},
        {"develop good.pgm -o out.ppm --wb 1,0,1", "is not as-shot"},
        {"develop good.pgm -o out.ppm --black 1,2", "'1,2' is not a level"},
        {"develop good.pgm -o out.ppm --phase RGBG", "'RGBG' is not GRBG"},
        {"develop good.pgm other.pgm -o out.ppm", "several frames need a directory"},
        {"develop good.pgm ./good.pgm -o {}.ppm", "two frames would both become good.ppm"},
        {"scene out.xyz", "frames are written as"},
        {"scene out.pgm --width 63", "from 64 to 16384"},
        {"scene out.pgm --seed -1", "seed"},
        {"contact-sheet good.pgm -o sheet --crop a=1,2,3", "'a=1,2,3' is not NAME=X,Y,WIDTH,HEIGHT"},
        {"info more 2", "2"}}) {
    expectRefused(arguments, 2, says);
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
  put("f.truth.ppm", "precious");
  expectRefused("develop good.pgm -o there.ppm", 1, "there.ppm: exists already; --force replaces it");
  expectRefused("develop nothing.pgm -o there.ppm --force", 1, "nothing.pgm");
  expectRefused("scene f.pgm --width 64 --height 64", 1, "f.truth.ppm: exists already");
  expectRefused("develop good.pgm -o good.pgm --type ppm --force", 1, "good.pgm: is the frame itself");
  expectRefused("develop good.pgm -o nowhere/out.ppm", 1, "nowhere/out.ppm: its directory does not exist");
  EXPECT_EQ(contents(at("there.ppm")) + contents(at("f.truth.ppm")), "preciousprecious");

#ifndef _WIN32  // where making a link takes special rights
  fs::create_symlink("there.ppm", at("link.ppm"));
  EXPECT_EQ(quorvel("develop good.pgm -o link.ppm --force").status, 0);
  EXPECT_TRUE(fs::is_symlink(at("link.ppm")));
  EXPECT_EQ(contents(at("there.ppm")).substr(0, 2), "P6");
#endif
}

#ifndef _WIN32  // neither full devices nor signals
TEST_F(Failures, FullDisksAreReported) {
  for (const std::string name : {"full.png", "full.tif", "full.ppm"}) {
    if (!buildsFormatOf(name)) continue;
    fs::create_symlink("/dev/full", at(name));
    expectRefused("develop good.pgm -o " + name, 1, name + ": cannot be written: No space left on device");
  }
  fs::create_symlink("/dev/full", at("frame.pgm"));
  expectRefused("scene frame.pgm --width 64 --height 64", 1, "frame.pgm: cannot be written");
  EXPECT_EQ(quorvel("info >/dev/full").status, 1);
}

TEST_F(Failures, AnInterruptLeavesNothing) {
  const auto before = names();
  const Outcome run = shell(
      program() +
      " scene big.pgm --width 3000 --height 3000 & for i in $(seq 200); do ls -A | grep -q part && break; sleep 0.05; "
      "done; ls -A | grep -c part; kill -TERM $!; wait $!");
  EXPECT_EQ(run.out, "3\n");  // it was at work
  EXPECT_EQ(run.status, 128 + 15);
  EXPECT_EQ(names(), before);
}
#endif

TEST_F(Failures, OneBadFrameDoesNotStopTheOthers) {
  put("bad.pgm", "P5\n20 18\n4095\nabc");
  const Outcome run = quorvel("develop good.pgm bad.pgm other.pgm -o made/ --type ppm");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "quorvel: bad.pgm: is cut short: 3 of 720 bytes of samples\nquorvel: 1 of 3 frames failed: bad.pgm\n");
  EXPECT_NE(run.out.find("good.pgm -> made/good.ppm: 20 x 18"), std::string::npos) << run.out;
  EXPECT_EQ(names(),
            (std::set<std::string>{"bad.pgm", "good.pgm", "other.pgm", "made", "made/good.ppm", "made/other.ppm"}));
  expectRun("develop good.pgm other.pgm -o made/{}-again.ppm", 0, "other.pgm -> made/other-again.ppm");
}

}  // namespace
}  // namespace quorvel::host::test
