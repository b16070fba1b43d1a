#pragma once

#include <QByteArray>
#include <string>

namespace pelmor {

// Draws text as a QR code on stdout with half-block characters (two modules per line of text), with
// the quiet zone scanners need. False when the text cannot be encoded.
bool DrawQRCode(const QByteArray& text);

// Draws an image file (SVG, PNG, JPEG, GIF) on stderr, beside the prompt it goes with, in half-blocks, about
// width columns wide, so that a captcha can be read where no image viewer is at hand. False when it cannot be
// read.
bool ShowImage(const std::string& path, int width = 64);

// Saves an image as a service or site sent it as text (an SVG, Base64 of an image, a data: URL, or JSON
// carrying one) as <cache>/pelmor/<name>.<kind>; returns the path, or "" with a reason in error.
std::string SaveImage(const std::string& text, const std::string& name, std::string& error);

// Keeps what the library writes on stderr by itself off the terminal while in scope: the names its load
// and unload hooks log, and libcurl's progress meter, which the coverage-site requests leave switched on.
// pelmor's own failures are then the one line they are meant to be.
class QuietStderr {
  public:
    QuietStderr();
    ~QuietStderr();
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;

  private:
    int saved_;
};

// Reads one line from stdin after showing prompt on stderr; false at end of input. A secret is not
// echoed when stdin is a terminal.
bool Prompt(const std::string& prompt, std::string& answer, bool secret = false);

}  // namespace pelmor
