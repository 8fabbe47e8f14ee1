// The page as a browser draws it: headless Chromium renders the report of
// the small project to a screenshot and dumps the DOM it built. Skipped
// when no chromium program is installed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "report/report_fixture.h"

namespace reporttest {
namespace {

std::string chromiumProgram() {
  for (const char* p :
       {"/usr/bin/chromium", "/usr/bin/chromium-browser", "/usr/bin/google-chrome"}) {
    if (::access(p, X_OK) == 0) return p;
  }
  return "";
}

// Runs chromium headless on `page` with `mode` ("--screenshot=..." or
// "--dump-dom"); its standard output.
std::string runChromium(const std::string& program, const std::string& page,
                        const std::string& mode) {
  const std::filesystem::path profile = tempPath("report_chromium_profile", "");
  std::filesystem::remove(profile);
  std::filesystem::create_directories(profile);
  // A hung browser must not hang the test run: timeout(1) stops it.
  const std::string guard = ::access("/usr/bin/timeout", X_OK) == 0 ? "/usr/bin/timeout 120 " : "";
  const std::string command =
      guard + program +
      " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
      "--disable-background-networking --disable-component-update --disable-sync "
      "--hide-scrollbars --user-data-dir=" +
      profile.string() + " --window-size=1600,1200 " + mode + " file://" +
      std::filesystem::absolute(page).string() + " 2>/dev/null";
  std::string out;
  if (FILE* p = ::popen(command.c_str(), "r")) {
    char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    ::pclose(p);
  }
  std::filesystem::remove_all(profile);
  return out;
}

uint32_t bigEndian32(const std::string& s, std::size_t at) {
  return (static_cast<uint32_t>(static_cast<unsigned char>(s[at])) << 24) |
         (static_cast<uint32_t>(static_cast<unsigned char>(s[at + 1])) << 16) |
         (static_cast<uint32_t>(static_cast<unsigned char>(s[at + 2])) << 8) |
         static_cast<uint32_t>(static_cast<unsigned char>(s[at + 3]));
}

TEST_F(SmallProject, ChromiumDrawsTheReportWithItsBars) {
  const std::string program = chromiumProgram();
  if (program.empty()) GTEST_SKIP() << "chromium is not installed (apt-get install chromium)";
  ASSERT_EQ(0, level()) << log();
  std::string html;
  ASSERT_EQ(0, report("P1", html)) << html;
  const auto tags = scanTags(html);

  // The DOM the browser built holds the same bars, histograms and legend.
  const std::string dom = runChromium(program, htmlPath_, "--dump-dom");
  ASSERT_FALSE(dom.empty()) << "chromium produced no DOM";
  const auto domTags = scanTags(dom);
  for (const char* cls : {"bar-levelled", "bar-planned", "bar-summary", "milestone", "histogram",
                          "legend-entry", "dep", "load-levelled", "over"}) {
    EXPECT_EQ(withClass(tags, cls).size(), withClass(domTags, cls).size()) << cls;
    EXPECT_FALSE(withClass(domTags, cls).empty()) << cls;
  }
  EXPECT_EQ(std::string::npos, dom.find("<script"));

  // The screenshot: a PNG of the window's size with enough drawn on it to
  // be more than a blank page.
  const std::string png = tempPath("report_shot", ".png");
  std::remove(png.c_str());
  runChromium(program, htmlPath_, "--screenshot=" + png);
  const std::string image = readFile(png);
  if (const char* keep = std::getenv("REPORT_SCREENSHOT")) {
    std::filesystem::copy_file(png, keep, std::filesystem::copy_options::overwrite_existing);
  }
  std::remove(png.c_str());
  ASSERT_GT(image.size(), 24u) << "no screenshot written";
  EXPECT_EQ(std::string("\x89PNG\r\n\x1a\n", 8), image.substr(0, 8));
  EXPECT_EQ("IHDR", image.substr(12, 4));
  EXPECT_EQ(1600u, bigEndian32(image, 16));
  EXPECT_EQ(1200u, bigEndian32(image, 20));
  // A blank 1600 x 1200 page compresses to a few kilobytes; bars, text and
  // histograms make it many times larger.
  EXPECT_GT(image.size(), 40u * 1024u);
}

}  // namespace
}  // namespace reporttest
