#include "apps/studio/windows/render_window.h"

#include <algorithm>

#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QTimer>

#include "apps/dravin/commands.h"
#include "apps/studio/panels/free_number.h"
#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/picture_compare.h"
#include "host/render/render_outcome.h"
#include "host/scene/user_interface.h"

namespace {

constexpr int kWatchMs = 100;
constexpr int kMostPixels = 65535, kMostSamples = 1 << 16;
const char* const kRenderers[] = {"raytrace", "scanline"};

}  // namespace

RenderWindow::RenderWindow(StudioSession& session, QWidget* parent)
    : ToolWindow("RenderWindow", "Render", {1000, 600}, parent),
      m_session(session),
      m_history(new RenderHistory(this)),
      m_compare(new PictureCompare),
      m_watch(new QTimer(this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(MakeSettings());
    auto* split = new QSplitter;
    split->addWidget(m_compare);
    split->addWidget(MakeList());
    split->setStretchFactor(0, 1);
    column->addWidget(split, 1);
    m_details = new QLabel;
    m_progress = new QProgressBar;
    m_progress->setRange(0, 100);
    m_progress->setFormat("Rendering %p%");
    auto* foot = new QHBoxLayout;
    foot->addWidget(m_details, 1);
    foot->addWidget(m_progress);
    column->addLayout(foot);
    m_progress->hide();
    m_watch->setInterval(kWatchMs);
    connect(m_watch, &QTimer::timeout, this,
            [this] { m_progress->setValue(int(m_session.RenderProgress() * 100)); });
    m_connections.push_back(session.changed.Connect([this](Scene& scene) { Read(scene); }));
    m_connections.push_back(session.activityChanged.Connect([this] { ShowActivity(); }));
    session.Look([this](Scene& scene) { Read(scene); });
    ShowPicture();
    ShowActivity();
}

// --- controls

NumberField* RenderWindow::MakeField(const char* name, const char* help, int most) {
    FreeNumber number{name, help};
    number.form.isInteger = true;
    number.bounded = [most](double value) {
        return std::round(std::clamp(value, 1.0, double(most)));
    };
    number.set = [this, name](double value) {
        m_session.Run("scene.render", "", {{name, int64_t(value)}});
    };
    NumberField* field = MakeFreeNumber(std::move(number));
    field->setFixedWidth(80);
    return field;
}

QWidget* RenderWindow::MakeSettings() {
    auto* bar = new QWidget;
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    m_render = new QPushButton("Render");
    m_cancel = new QPushButton("Cancel");
    m_save = new QPushButton("Save Picture...");
    m_width = MakeField("width", "Width, pixels", kMostPixels);
    m_height = MakeField("height", "Height, pixels", kMostPixels);
    m_samples = MakeField("samples", "Rays a pixel", kMostSamples);
    m_camera = new QComboBox;
    m_renderer = new QComboBox;
    for (const char* name : kRenderers) m_renderer->addItem(name);
    for (QComboBox* box : {m_camera, m_renderer}) {
        box->setFocusPolicy(Qt::StrongFocus);
        box->installEventFilter(new WheelGuard(box));
    }
    m_camera->setAccessibleName("Camera");
    m_renderer->setAccessibleName("Renderer");
    connect(m_camera, &QComboBox::activated, this, [this](int entry) {
        std::string name = entry == 0 ? "" : m_camera->itemText(entry).toStdString();
        m_session.Run("scene.render", "", {{"camera", name}});
    });
    connect(m_renderer, &QComboBox::activated, this, [this](int entry) {
        m_session.Run("scene.render", "", {{"renderer", kRenderers[entry]}});
    });
    connect(m_render, &QPushButton::clicked, this, [this] { Render(); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_session.CancelRender(); });
    connect(m_save, &QPushButton::clicked, this, [this] { SavePicture(); });
    auto labelled = [row](const char* text, QWidget* widget) {
        row->addWidget(new QLabel(text));
        row->addWidget(widget);
    };
    row->addWidget(m_render);
    row->addWidget(m_cancel);
    labelled("Camera", m_camera);
    labelled("Size", m_width);
    labelled("x", m_height);
    labelled("Samples", m_samples);
    labelled("by", m_renderer);
    row->addStretch(1);
    row->addWidget(m_save);
    return bar;
}

QWidget* RenderWindow::MakeList() {
    auto* side = new QWidget;
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    m_list = new QListView;
    m_list->setModel(m_history);
    m_list->setIconSize({128, 72});
    m_list->setAccessibleName("Rendered pictures");
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { ShowPicture(); });
    m_compareWith = new QPushButton("Compare With This");
    m_compareWith->setToolTip("Makes the selected picture B; again: shows one picture alone");
    connect(m_compareWith, &QPushButton::clicked, this, [this] { CompareWithSelected(); });
    auto* remove = new QShortcut(QKeySequence::Delete, m_list);
    remove->setContext(Qt::WidgetShortcut);
    connect(remove, &QShortcut::activated, this,
            [this] { m_history->Remove(m_list->currentIndex().row()); });
    column->addWidget(m_list, 1);
    column->addWidget(m_compareWith);
    return side;
}

void RenderWindow::Read(const Scene& scene) {
    m_settings = scene.render;
    m_width->Show(m_settings.width, false, false, false);
    m_height->Show(m_settings.height, false, false, false);
    m_samples->Show(m_settings.samples, false, false, false);
    m_renderer->setCurrentText(m_settings.renderer == "scanline" ? "scanline" : "raytrace");
    QStringList cameras{"Active view"};
    for (const INode* node : scene.Nodes())
        if (node->GetObjectRef() && node->GetObjectRef()->IsCamera())
            cameras.push_back(Text(node->GetName()));
    QStringList shown;
    for (int i = 0; i < m_camera->count(); ++i) shown.push_back(m_camera->itemText(i));
    if (shown != cameras) m_camera->clear(), m_camera->addItems(cameras);
    const INode* camera = scene.RenderCamera();
    m_camera->setCurrentIndex(camera ? std::max(int(cameras.indexOf(Text(camera->GetName()))), 0)
                                     : 0);
}

void RenderWindow::ShowActivity() {
    bool isRendering = m_session.IsRendering();
    m_render->setEnabled(!m_session.IsBusy() && !isRendering);
    m_cancel->setEnabled(isRendering);
    m_progress->setVisible(isRendering);
    isRendering ? m_watch->start() : m_watch->stop();
}

// --- pictures

void RenderWindow::Render() {
    QString scene =
        m_session.Path().empty() ? "untitled" : QFileInfo(Text(m_session.Path())).fileName();
    QPointer<RenderWindow> self = this;
    auto take = [self, scene, samples = m_settings.samples](const RenderOutcome& outcome) {
        if (self) self->Take(outcome, scene, samples);
    };
    m_session.Render({}, take);
}

// scene, samples: as they were when the render began.
void RenderWindow::Take(const RenderOutcome& outcome, const QString& scene, int samples) {
    if (outcome.picture.pixels.empty()) return;
    const RenderStatistics& s = outcome.statistics;
    RenderedPicture rendered;
    rendered.picture = outcome.picture;
    rendered.image = ImageOf(outcome.picture);
    rendered.name = QString("%1  %2").arg(m_history->NextNumber()).arg(scene);
    rendered.details = QString("%1 x %2, %3 samples, %4 instances, %5 s")
                           .arg(outcome.picture.width)
                           .arg(outcome.picture.height)
                           .arg(samples)
                           .arg(s.numInstances)
                           .arg(s.buildSeconds + s.traceSeconds, 0, 'f', 1);
    m_history->Add(std::move(rendered));
    Select(0);
}

void RenderWindow::Select(int row) {
    m_list->setCurrentIndex(m_history->index(row));
    ShowPicture();
}

void RenderWindow::CompareWithSelected() {
    auto selected = m_history->At(m_list->currentIndex().row());
    m_other = m_other ? nullptr : selected;
    ShowPicture();
}

void RenderWindow::ShowPicture() {
    auto selected = m_history->At(m_list->currentIndex().row());
    m_compare->Show(selected ? selected->image : QImage(), m_other ? m_other->image : QImage());
    m_save->setEnabled(selected != nullptr);
    m_compareWith->setEnabled(selected || m_other);
    m_compareWith->setText(m_other ? "Compare No More" : "Compare With This");
    QString details = selected ? selected->details : QString();
    if (m_other) details += QString("    B: %1, %2").arg(m_other->name, m_other->details);
    m_details->setText(details);
}

void RenderWindow::SavePicture(const std::string& path) {
    auto selected = m_history->At(m_list->currentIndex().row());
    if (!selected) return;
    std::string to = path;
    if (to.empty()) {
        FileRequest request{"Save the picture", true, {}, {".png", ".jpg", ".exr"}};
        std::optional<std::string> picked = m_session.Ui().PickFile(request);
        if (!picked) return;
        to = QFileInfo(Text(*picked)).suffix().isEmpty() ? *picked + ".png" : *picked;
    }
    std::string error;
    if (IsPictureFormat(to, &error)) {
        error = WritePicture(to, selected->picture);
    } else if (error.empty()) {
        error = to + ": the ending names no image format, expected .png, .jpg or .exr";
    }
    if (error.empty()) return m_session.told.Send(MessageLevel::kNote, "Saved " + to);
    m_session.told.Send(MessageLevel::kError, error);
    m_session.Ui().MessageBox(error, "Dravin Studio", MessageKind::kError);
}
