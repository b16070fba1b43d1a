#include "Terminal.h"

#include <fcntl.h>
#include <qrencode.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>

namespace pelmor {

bool DrawQRCode(const QByteArray& text) {
    if (text.isEmpty()) return false;
    QRcode* code = QRcode_encodeData(text.size(), reinterpret_cast<const unsigned char*>(text.constData()), 0,
                                     QR_ECLEVEL_L);
    if (!code) return false;
    const int quiet = 2, size = code->width;
    auto dark = [&](int x, int y) {
        return x >= 0 && y >= 0 && x < size && y < size && (code->data[y * size + x] & 1);
    };
    // Dark modules are drawn as blanks on light ground so that the code reads on dark terminals too.
    for (int y = -quiet; y < size + quiet; y += 2) {
        std::string line;
        for (int x = -quiet; x < size + quiet; ++x) {
            const bool top = dark(x, y), bottom = dark(x, y + 1);
            line += top ? (bottom ? " " : "\u2584") : (bottom ? "\u2580" : "\u2588");
        }
        std::cout << line << '\n';
    }
    std::cout.flush();
    QRcode_free(code);
    return true;
}

namespace {

// The extension for image bytes, or "" when they are not an image we know.
std::string ImageKind(const QByteArray& bytes) {
    if (bytes.startsWith("\x89PNG")) return "png";
    if (bytes.startsWith("\xFF\xD8\xFF")) return "jpg";
    if (bytes.startsWith("GIF8")) return "gif";
    const QByteArray head = bytes.left(256).trimmed();
    if (head.startsWith("<svg") || (head.startsWith("<?xml") && bytes.contains("<svg"))) return "svg";
    return "";
}

std::string CacheDirectory() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const char* home = std::getenv("HOME");
    std::string dir = cache && *cache == '/' ? std::string(cache)
                      : home && *home        ? std::string(home) + "/.cache"
                                             : "/tmp";
    dir += "/pelmor";
    mkdir(dir.substr(0, dir.rfind('/')).c_str(), 0700);
    mkdir(dir.c_str(), 0700);
    return dir;
}

}  // namespace

std::string SaveImage(const std::string& text, const std::string& name, std::string& error) {
    QByteArray bytes = QByteArray::fromStdString(text).trimmed();
    // The image may come as JSON whose text member carries it, possibly as a data: URL, in Base64.
    const QJsonDocument json = QJsonDocument::fromJson(bytes);
    if (json.isObject()) {
        for (const QJsonValue& value : json.object())
            if (value.isString() && value.toString().size() > 32) bytes = value.toString().toUtf8();
    }
    if (bytes.startsWith("data:") && bytes.contains(",")) bytes = bytes.mid(bytes.indexOf(',') + 1);
    std::string kind = ImageKind(bytes);
    if (kind.empty()) {
        const QByteArray decoded = QByteArray::fromBase64(bytes, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded.isEmpty() && !ImageKind(decoded).empty()) {
            bytes = decoded;
            kind = ImageKind(decoded);
        }
    }
    if (kind.empty()) kind = "txt";
    const std::string path = CacheDirectory() + "/" + name + "." + kind;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.constData(), bytes.size());
    if (!out) {
        error = path + ": cannot write: " + std::strerror(errno);
        return "";
    }
    return path;
}

QuietStderr::QuietStderr() {
    std::fflush(stderr);
    std::cerr.flush();
    saved_ = dup(STDERR_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (saved_ >= 0 && null >= 0) dup2(null, STDERR_FILENO);
    if (null >= 0) close(null);
}

QuietStderr::~QuietStderr() {
    if (saved_ < 0) return;
    std::fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
}

bool Prompt(const std::string& prompt, std::string& answer, bool secret) {
    std::cerr << prompt << std::flush;
    termios saved{};
    const bool hide = secret && isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved) == 0;
    if (hide) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    const bool read = static_cast<bool>(std::getline(std::cin, answer));
    if (hide) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        std::cerr << '\n';
    }
    if (!read) return false;
    while (!answer.empty() && (answer.back() == '\r' || answer.back() == ' '))
        answer.pop_back();
    return true;
}

}  // namespace pelmor
