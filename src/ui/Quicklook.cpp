#include "ui/Quicklook.h"

#include "platform/PropertyListFile.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QPixmap>
#include <QWidget>

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>

namespace marvo::ui {

std::vector<std::uint8_t> windowImageForProjectSave(QWidget* window) {
    if (!window || !window->isVisible()) return {};
    QImage image = window->grab().toImage();
    if (image.isNull()) return {};
    image.setDevicePixelRatio(1);
    if (image.width() > quicklookWidth) image = image.scaledToWidth(quicklookWidth, Qt::SmoothTransformation);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) return {};
    return {bytes.begin(), bytes.end()};
}

QImage quicklookImageOf(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size > largestQuicklookFile) return {};
    const ReadResult read = readPropertyList(path);
    const PropertyList* appData = read.value.find("appData");
    const PropertyList* image = appData ? appData->find("QuicklookImage") : nullptr;
    if (!image) return {};
    const std::span<const std::byte> bytes = image->dataBytes();
    return QImage::fromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<int>(bytes.size()));
}

// What both threads see. `alive` and `loaded` belong to the main thread.
struct QuicklookLoader::Shared {
    std::mutex mutex;
    std::condition_variable_any ready;
    std::deque<std::string> wanted;
    Loaded loaded;
    bool alive = true;
};

QuicklookLoader::QuicklookLoader(Loaded loaded)
    : shared_(std::make_shared<Shared>()), thread_([this](std::stop_token stop) { run(std::move(stop)); }) {
    shared_->loaded = std::move(loaded);
}

QuicklookLoader::~QuicklookLoader() {
    shared_->alive = false;
    clear();
}

void QuicklookLoader::load(const std::string& path) {
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->wanted.push_back(path);
    }
    shared_->ready.notify_one();
}

void QuicklookLoader::clear() {
    const std::lock_guard lock(shared_->mutex);
    shared_->wanted.clear();
}

void QuicklookLoader::run(std::stop_token stop) {
    const std::shared_ptr<Shared> shared = shared_;
    while (!stop.stop_requested()) {
        std::string path;
        {
            std::unique_lock lock(shared->mutex);
            if (!shared->ready.wait(lock, stop, [&] { return !shared->wanted.empty(); })) return;
            path = std::move(shared->wanted.front());
            shared->wanted.pop_front();
        }
        QImage image = quicklookImageOf(path);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [shared, path = std::move(path), image = std::move(image)] {
                if (shared->alive) shared->loaded(path, image);
            },
            Qt::QueuedConnection);
    }
}

} // namespace marvo::ui
