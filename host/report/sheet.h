// SPDX-License-Identifier: Apache-2.0
// One frame developed by several methods, side by side: a page for the browser and a picture.
#ifndef QUORVEL_HOST_REPORT_SHEET_H_
#define QUORVEL_HOST_REPORT_SHEET_H_

#include <optional>
#include <string>
#include <vector>

#include "host/io/image.h"
#include "host/report/psnr.h"

namespace quorvel::host {

struct SheetEntry {
  std::string name;   // of the method, or "truth"
  std::string title;  // for people
  std::string file;   // the picture, relative to the page
  Picture picture;    // of 8 bits
  std::optional<Psnr> quality;
  std::optional<double> megapixelsPerSecond;
};

// A picture of its own below the others.
struct SheetFigure {
  std::string title, file;
};

struct Sheet {
  std::string frame;                // its name
  std::string remarks;              // about the run: version, target
  std::vector<SheetEntry> entries;  // of one size
  std::vector<Region> regions;      // inside it
  std::vector<SheetFigure> figures;
};

// The page. It needs the entries' files beside it and nothing else.
std::string sheetPage(const Sheet& sheet);

// A small view of the frame, and the first three regions of every entry magnified three times.
Picture sheetPicture(const Sheet& sheet);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_SHEET_H_
