// The picture of a project in its file: taken for a save, and read back without loading the project.
#pragma once

#include <QImage>

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

class QWidget;

namespace marvo::ui {

// At most this wide, in pixels.
inline constexpr int quicklookWidth = 640;
// A larger project file is not read for its picture.
inline constexpr std::uintmax_t largestQuicklookFile = std::uintmax_t{256} << 20;

// PNG of the window as it looks now; empty when there is none to see. Main thread.
std::vector<std::uint8_t> windowImageForProjectSave(QWidget* window);

// Null when there is no picture, or the file cannot be read. Any thread; blocks on the disk.
QImage quicklookImageOf(const std::string& path);

// Reads pictures one after the other on its own thread and hands each over on the main thread, in the order
// in which they were asked for. When this has gone, none is handed over any more. Main thread.
class QuicklookLoader {
public:
    // loaded is called on the thread that made this, inside the toolkit's loop.
    using Loaded = std::function<void(const std::string& path, const QImage& image)>;
    explicit QuicklookLoader(Loaded loaded);
    ~QuicklookLoader();
    QuicklookLoader(const QuicklookLoader&) = delete;
    QuicklookLoader& operator=(const QuicklookLoader&) = delete;

    void load(const std::string& path);
    // Gives up what has not been begun.
    void clear();

private:
    struct Shared;
    void run(std::stop_token stop);

    std::shared_ptr<Shared> shared_;
    std::jthread thread_;
};

} // namespace marvo::ui
