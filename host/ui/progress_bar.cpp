#include "host/ui/progress_bar.h"

#include <memory>
#include <utility>

namespace {

// Cuts `text` to at most `bytes` bytes without splitting a UTF-8 sequence.
std::string cut_utf8(const std::string& text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  std::size_t end = bytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

struct BAR_STATE {
  std::string title;
  std::FILE* stream;  // not owned
  int drawn = -1;     // last percentage on screen; -1 while nothing is drawn
};

void draw(BAR_STATE& bar, int percent) {
  // Two writes rather than "\r" + line: GCC 12 misreads that concatenation
  // as an overlapping copy at -O3.
  const std::string line = format_progress_bar(bar.title, percent);
  std::fputc('\r', bar.stream);
  std::fwrite(line.data(), 1, line.size(), bar.stream);
  std::fflush(bar.stream);
  bar.drawn = percent;
}

}  // namespace

std::string format_progress_bar(const std::string& title, int percent) {
  if (percent < 0) percent = 0;
  if (percent > 100) percent = 100;
  const int filled = percent * kProgressBarCells / 100;
  std::string line = cut_utf8(title, kProgressBarTitleBytes);
  if (!line.empty()) line += ' ';
  line += '[';
  line.append(static_cast<std::size_t>(filled), '#');
  line.append(static_cast<std::size_t>(kProgressBarCells - filled), '.');
  line += "] ";
  char number[8];
  std::snprintf(number, sizeof number, "%3d%%", percent);
  line += number;
  return line;
}

PROGRESS_RENDERER make_progress_bar_renderer(std::string title, std::FILE* stream) {
  // Shared, because a std::function must be copyable.
  auto bar = std::make_shared<BAR_STATE>(BAR_STATE{std::move(title), stream});
  return [bar](int percent, bool final) {
    if (!final) {
      draw(*bar, percent);
      return;
    }
    if (bar->drawn < 0) return;
    if (bar->drawn != percent) draw(*bar, percent);
    std::fputc('\n', bar->stream);
    std::fflush(bar->stream);
    bar->drawn = -1;
  };
}
