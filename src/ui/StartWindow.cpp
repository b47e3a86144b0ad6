#include "ui/StartWindow.h"

#include "app/MarvoPreferencesController.h"
#include "platform/PreferenceStore.h"
#include "ui/Fields.h"
#include "ui/Look.h"
#include "ui/Quicklook.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace marvo::ui {
namespace {

constexpr std::string_view preferenceKey = "showStartupWindow";

} // namespace

bool StartWindow::isWanted(const PreferenceStore& store) {
    const PropertyList* value = store.find(preferenceKey);
    return !value || value->boolOr(true);
}

StartWindow::StartWindow(ProjectCommands& commands, RecentProjects& recents,
                         MarvoPreferencesController& preferences, const PreferenceStore& store)
    : commands_(commands), recents_(recents), preferences_(preferences) {
    setWindowTitle(QStringLiteral("Welcome to Marvo"));
    setWindowFlag(Qt::WindowMaximizeButtonHint, false);

    auto* name = new QLabel(QStringLiteral("Marvo"), this);
    name->setFont(typeFont(Type::big));
    heading_ = new QLabel(this);
    heading_->setForegroundRole(captionRole);

    auto* views = new QHBoxLayout;
    views->setSpacing(2 * size::margin);
    for (RecentView*& view : recentViews_) {
        view = new RecentView(this);
        view->onOpen = [this](const QString& path) { commands_.openProjectAtURL(path.toStdString()); };
        views->addWidget(view);
    }

    showAtStart_ = new CheckBox(QStringLiteral("Show this window at the start"), this);
    showAtStart_->setChecked(isWanted(store));
    connect(showAtStart_, &QCheckBox::toggled, this, [this](bool on) {
        preferences_.change(preferenceKey, on);
        preferences_.synchronise();
    });
    new_ = new QPushButton(QStringLiteral("New"), this);
    open_ = new QPushButton(QStringLiteral("Open..."), this);
    openLast_ = new QPushButton(QStringLiteral("Open Last"), this);
    connect(new_, &QPushButton::clicked, this, [this] { commands_.clearProject(); });
    connect(open_, &QPushButton::clicked, this, [this] { commands_.openProject(); });
    connect(openLast_, &QPushButton::clicked, this, [this] { commands_.openLastProject(); });
    auto* row = new QHBoxLayout;
    row->setSpacing(size::gap);
    row->addWidget(showAtStart_);
    row->addStretch();
    row->addWidget(new_);
    row->addWidget(open_);
    row->addWidget(openLast_);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(3 * size::margin, 2 * size::margin, 3 * size::margin, 2 * size::margin);
    all->setSpacing(size::margin);
    all->addWidget(name);
    all->addWidget(heading_);
    all->addLayout(views);
    all->addSpacing(size::margin);
    all->addLayout(row);
    all->setSizeConstraint(QLayout::SetFixedSize);

    loader_ = std::make_unique<QuicklookLoader>([this](const std::string& path, const QImage& image) {
        const QString loaded = QString::fromStdString(path);
        for (RecentView* view : recentViews_) {
            if (view->path() == loaded) view->showImage(QPixmap::fromImage(image));
        }
    });
    buildRecentsViews();
    if (recents_.all().empty()) new_->setFocus(); // else the newest project has it
}

StartWindow::~StartWindow() = default;

void StartWindow::buildRecentsViews() {
    loader_->clear();
    const std::vector<std::string> paths = recents_.all();
    for (std::size_t i = 0; i < recentViews_.size(); ++i) {
        if (i >= paths.size() || !QFileInfo::exists(QString::fromStdString(paths[i]))) {
            recentViews_[i]->clear();
            continue;
        }
        recentViews_[i]->showProject(QString::fromStdString(paths[i]));
        loader_->load(paths[i]);
    }
    heading_->setText(paths.empty() ? QStringLiteral("No recent projects yet")
                                    : QStringLiteral("Recent projects"));
    openLast_->setEnabled(!paths.empty());
}

} // namespace marvo::ui
