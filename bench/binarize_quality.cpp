// binarize_quality.cpp - how well each binarizer finds the ink of generated pages with known
// truth (scripts/corpus/degrade.py), beside the peers on the same pages.
//
// Usage: quilp_binarize_quality CORPUS_DIR [METHOD,...]   (default: every method)
// Reads CORPUS_DIR/manifest.tsv (name, dpi, font per line), each NAME.bmp (8-bit grey or
// 24-bit colour) and NAME-ink.bmp (1-bit truth, black = ink), and prints one line per page and
// method: page, method, precision, recall and F-measure (percent) of the black pixels against
// the ink, and PSNR (dB, over 0/1 images). Peers read the colour pages through OpenCV's luma.
//   ours:  otsu (DibBinarizeOtsu), niblack, sauvola, wolf (DibBinarizeNiblack with defaults),
//          niglob, stat (DibBinarizeStat), auto (DibBinarizeEx method 7)
//   peers: cv-sauvola (cv::ximgproc::niBlackThreshold, BINARIZATION_SAUVOLA), lept-sauvola
//          (pixSauvolaBinarize), lept-bgnorm (pixOtsuThreshOnBackgroundNorm)
// Peer windows follow the page's resolution as ours do (dpi / 10, odd).
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "quilp32.h"

#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
#include <opencv2/ximgproc.hpp>
#endif
#if defined(QUILP_HAVE_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

namespace {

// Sauvola's k for the peers: 0.34, the usual choice, and 0.10, the best mean F-measure of a
// sweep over 0.10, 0.20, 0.34 and 0.50 on this corpus (low k keeps faded ink).
struct PeerK {
  double k;
  char const* cv;
  char const* lept;
};
constexpr PeerK kPeerKs[] = {{0.34, "cv-sauvola", "lept-sauvola"},
                             {0.10, "cv-sauvola-k10", "lept-sauvola-k10"}};

// A bottom-up record with the pixels of an 8- or 24-bit image.
DibInfo* RecordOf(cv::Mat const& m, int dpi) {
  int const ppm = int(dpi * 39.37 + 0.5);
  DibInfo* dib = DibCreate(m.cols, m.rows, ppm, ppm, m.channels() == 3 ? 24 : 8);
  for (int y = 0; dib && y < m.rows; ++y)
    std::copy(m.ptr<uint8_t>(y), m.ptr<uint8_t>(y) + m.cols * m.channels(), dib->GetLine(y));
  return dib;
}

// Black (true) pixels of a 1-bit record.
cv::Mat BlackOf(DibInfo* bw) {
  cv::Mat out(bw->Height(), bw->Width(), CV_8U);
  for (int y = 0; y < bw->Height(); ++y)
    for (int x = 0; x < bw->Width(); ++x)
      out.at<uint8_t>(y, x) = ((bw->GetLine(y)[x / 8] >> (7 - x % 8)) & 1) == 0;
  DibFree(bw);
  return out;
}

#if defined(QUILP_HAVE_LEPTONICA)
PIX* PixOf(cv::Mat const& grey) {
  PIX* pix = pixCreate(grey.cols, grey.rows, 8);
  l_uint32* data = pixGetData(pix);
  int const wpl = pixGetWpl(pix);
  for (int y = 0; y < grey.rows; ++y)
    for (int x = 0; x < grey.cols; ++x) SET_DATA_BYTE(data + y * wpl, x, grey.at<uint8_t>(y, x));
  return pix;
}

cv::Mat BlackOfPix(PIX* pix) {
  cv::Mat out(pixGetHeight(pix), pixGetWidth(pix), CV_8U, cv::Scalar(0));
  l_uint32* data = pixGetData(pix);
  int const wpl = pixGetWpl(pix);
  for (int y = 0; y < out.rows; ++y)
    for (int x = 0; x < out.cols; ++x) out.at<uint8_t>(y, x) = GET_DATA_BIT(data + y * wpl, x);
  pixDestroy(&pix);
  return out;
}
#endif

std::string g_only;  // the methods asked for, comma-separated; empty: all

bool Wanted(char const* method) {
  return g_only.empty() || ("," + g_only + ",").find(std::string(",") + method + ",") != std::string::npos;
}

void Report(std::string const& page, char const* method, cv::Mat const& black,
            cv::Mat const& ink) {
  if (black.empty()) {
    std::printf("%s\t%s\tfailed\n", page.c_str(), method);
    return;
  }
  double tp = 0, fp = 0, fn = 0;
  for (int y = 0; y < ink.rows; ++y) {
    uint8_t const* b = black.ptr<uint8_t>(y);
    uint8_t const* t = ink.ptr<uint8_t>(y);
    for (int x = 0; x < ink.cols; ++x) {
      bool const isInk = t[x] != 0, isBlack = b[x] != 0;
      tp += isInk && isBlack;
      fp += !isInk && isBlack;
      fn += isInk && !isBlack;
    }
  }
  double const p = tp / std::max(1.0, tp + fp), r = tp / std::max(1.0, tp + fn);
  double const f = p + r > 0 ? 2 * p * r / (p + r) : 0.0;
  double const mse = (fp + fn) / (double(ink.rows) * ink.cols);
  std::printf("%s\t%s\t%.2f\t%.2f\t%.2f\t%.2f\n", page.c_str(), method, 100 * p, 100 * r,
              100 * f, mse > 0 ? 10 * std::log10(1.0 / mse) : 99.0);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::fprintf(stderr, "usage: %s CORPUS_DIR [METHOD,...]\n", argv[0]);
    return 2;
  }
  if (argc == 3) g_only = argv[2];
#if defined(QUILP_HAVE_LEPTONICA)
  setMsgSeverity(L_SEVERITY_NONE);  // its background normalisation complains on some pages
#endif
  std::string const dir = argv[1];
  std::ifstream manifest(dir + "/manifest.tsv");
  if (!manifest) {
    std::fprintf(stderr, "no manifest.tsv in %s\n", dir.c_str());
    return 1;
  }
  std::string line;
  while (std::getline(manifest, line)) {
    std::istringstream fields(line);
    std::string name;
    int dpi = 0;
    if (!(fields >> name >> dpi)) continue;
    cv::Mat const page = cv::imread(dir + "/" + name + ".bmp", cv::IMREAD_UNCHANGED);
    cv::Mat const truth = cv::imread(dir + "/" + name + "-ink.bmp", cv::IMREAD_GRAYSCALE);
    if (page.empty() || truth.empty()) {
      std::fprintf(stderr, "cannot read %s\n", name.c_str());
      return 1;
    }
    cv::Mat const ink = truth == 0;
    cv::Mat grey;
    if (page.channels() == 3)
      cv::cvtColor(page, grey, cv::COLOR_BGR2GRAY);
    else
      grey = page;
    DibInfo* record = RecordOf(page, dpi);
    int const window = std::max(3, dpi / 10) | 1;

    if (Wanted("otsu")) Report(name, "otsu", BlackOf(DibBinarizeOtsu(record, 2, 0, 0, false, nullptr)), ink);
    char const* variants[] = {"niblack", "sauvola", "wolf"};
    for (int v = 0; v < 3; ++v)
      if (Wanted(variants[v])) Report(name, variants[v], BlackOf(DibBinarizeNiblack(record, v, 0, 0, nullptr)), ink);
    if (Wanted("niglob")) Report(name, "niglob", BlackOf(DibBinarizeNiGlob(record, 0, 0, 0, nullptr)), ink);
    if (Wanted("stat")) Report(name, "stat", BlackOf(DibBinarizeStat(record, 0, 0, nullptr)), ink);
    DibInfo* autoResult = nullptr;
    if (!Wanted("auto"))
      ;
    else if (DibBinarizeEx(autoResult, record, 7, 0, 0, 0, nullptr, nullptr, nullptr, nullptr) == 0)
      Report(name, "auto", BlackOf(autoResult), ink);
    else
      Report(name, "auto", cv::Mat(), ink);
    DibFree(record);

    if (Wanted("cv-otsu")) {
      cv::Mat otsu;
      cv::threshold(grey, otsu, 0, 1, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
      Report(name, "cv-otsu", otsu, ink);
    }
#if defined(QUILP_HAVE_OPENCV_XIMGPROC)
    for (PeerK const& peer : kPeerKs) {
      if (!Wanted(peer.cv)) continue;
      cv::Mat sauvola;
      cv::ximgproc::niBlackThreshold(grey, sauvola, 1, cv::THRESH_BINARY_INV, window, peer.k,
                                     cv::ximgproc::BINARIZATION_SAUVOLA);
      Report(name, peer.cv, sauvola, ink);
    }
#endif
#if defined(QUILP_HAVE_LEPTONICA)
    PIX* pix = PixOf(grey);
    for (PeerK const& peer : kPeerKs) {
      PIX* lsauvola = nullptr;
      if (Wanted(peer.lept) && pixSauvolaBinarize(pix, window / 2, float(peer.k), 1, nullptr,
                                                  nullptr, nullptr, &lsauvola) == 0)
        Report(name, peer.lept, BlackOfPix(lsauvola), ink);
    }
    l_int32 threshold = 0;
    PIX* bgnorm = !Wanted("lept-bgnorm") ? nullptr : pixOtsuThreshOnBackgroundNorm(pix, nullptr, 10, 15, 100, 50, 255, 2, 2, 0.1f,
                                                &threshold);
    if (bgnorm) Report(name, "lept-bgnorm", BlackOfPix(bgnorm), ink);
    pixDestroy(&pix);
#endif
  }
  return 0;
}
