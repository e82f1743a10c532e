// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/marking/automark_window.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <algorithm>
#include <utility>

#include "results/automark.h"
#include "ui/widgets/ordered_list.h"
#include "ui/widgets/path_text.h"
#include "ui/widgets/percent_slider.h"

namespace quill {
namespace {

QString WorseFile(FieldId criterion) {
  switch (criterion) {
    case FieldId::kRating:
      return QObject::tr("The file with the lower rating is the worse one");
    case FieldId::kBitrate:
      return QObject::tr("The file with the lower bitrate is the worse one");
    case FieldId::kSize:
      return QObject::tr("The smaller file is the worse one");
    case FieldId::kTags:
      return QObject::tr("The file with fewer or shorter tags is the worse one");
    case FieldId::kFormat:
      return QObject::tr("The file whose extension stands lower in the list is the worse one");
    case FieldId::kGroup:
      return QObject::tr("The file of no folder group, or of a higher one, is the worse one");
    case FieldId::kFolder:
      return QObject::tr("The file whose folder stands lower in the list is the worse one");
    case FieldId::kDuration:
      return QObject::tr("The shorter file is the worse one");
    case FieldId::kResolution:
      return QObject::tr("The picture with fewer pixels is the worse one");
    default:
      return {};
  }
}

template <class T>
std::vector<T> InOrder(const std::vector<T>& entries, const std::vector<size_t>& order) {
  std::vector<T> ordered;
  for (const size_t at : order) ordered.push_back(entries[at]);
  return ordered;
}

class CAutomarkDialog : public QDialog {
 public:
  CAutomarkDialog(QWidget* parent, const CAutomark& automark, std::vector<bool> allowed);

  void Save() const;

 private:
  [[nodiscard]] QWidget* MakeThresholds();
  [[nodiscard]] static QWidget* MakeTitled(const QString& title, COrderedList* list);
  void ShowLists(bool defaultsOnly);
  void SetDefaults();

  const CAutomark& m_automark;
  const std::vector<bool> m_allowed;
  // As the lists have them numbered.
  std::vector<FieldId> m_shownPriorities;
  std::vector<std::string> m_shownFolders;
  std::vector<std::string> m_shownExtensions;
  COrderedList* m_priorities;
  COrderedList* m_folders;
  COrderedList* m_extensions;
  std::vector<std::pair<QCheckBox*, CPercentSlider*>> m_rows;  // by threshold
};

CAutomarkDialog::CAutomarkDialog(QWidget* parent, const CAutomark& automark,
                                 std::vector<bool> allowed)
    : QDialog(parent),
      m_automark(automark),
      m_allowed(std::move(allowed)),
      m_priorities(new COrderedList(tr("Criteria"))),
      m_folders(new COrderedList(tr("Folders"))),
      m_extensions(new COrderedList(tr("Extensions"))) {
  setWindowTitle(tr("Automark"));
  auto* const intro = new QLabel(
      tr("Marks the worse file of every pair, and takes all other marks away. The first criterion "
         "in the list that tells the two files apart decides. No file is touched."));
  intro->setWordWrap(true);

  auto* const lists = new QGridLayout;
  lists->addWidget(MakeTitled(tr("C&riteria, most important first:"), m_priorities), 0, 0, 2, 1);
  lists->addWidget(MakeTitled(tr("&Folders, best first:"), m_folders), 0, 1);
  lists->addWidget(MakeTitled(tr("&Extensions, best first:"), m_extensions), 1, 1);
  lists->setColumnStretch(0, 2);
  lists->setColumnStretch(1, 3);
  lists->setHorizontalSpacing(12);

  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
  auto* const mark = buttons->addButton(tr("&Mark"), QDialogButtonBox::AcceptRole);
  auto* const defaults = buttons->addButton(tr("&Defaults"), QDialogButtonBox::ResetRole);
  defaults->setAutoDefault(false);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(defaults, &QPushButton::clicked, this, &CAutomarkDialog::SetDefaults);

  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(intro);
  layout->addLayout(lists, 1);
  layout->addWidget(MakeThresholds());
  layout->addWidget(buttons);
  mark->setDefault(true);  // the dialog takes it from the buttons that it holds
  ShowLists(false);
  m_priorities->setFocus();
  resize(sizeHint().expandedTo({fontMetrics().averageCharWidth() * 110, 0}));
}

void CAutomarkDialog::Save() const {
  m_automark.SavePriorities(InOrder(m_shownPriorities, m_priorities->Order()));
  m_automark.SaveFolders(InOrder(m_shownFolders, m_folders->Order()));
  m_automark.SaveExtensions(InOrder(m_shownExtensions, m_extensions->Order()));
  std::vector<AutomarkThresholdState> states;
  for (const auto& [check, slider] : m_rows)
    states.push_back({.enabled = check->isChecked(), .value = slider->Value()});
  m_automark.SaveThresholds(states, m_allowed);
}

QWidget* CAutomarkDialog::MakeThresholds() {
  const std::vector<AutomarkThresholdState> states = m_automark.LoadThresholds();
  auto* const box = new QGroupBox(tr("Only pairs that reach"));
  auto* const grid = new QGridLayout(box);
  for (size_t i = 0; i < states.size(); ++i) {
    const QString name = QString::fromUtf8(m_automark.Thresholds()[i].shownText);
    auto* const check = new QCheckBox(name);
    auto* const slider = new CPercentSlider(name);
    slider->SetValue(states[i].value);
    connect(check, &QCheckBox::toggled, slider, &QWidget::setEnabled);
    check->setChecked(m_allowed[i] && states[i].enabled);
    check->setEnabled(m_allowed[i]);
    slider->setEnabled(check->isChecked());
    if (!m_allowed[i]) check->setToolTip(tr("No pair in the table has this score"));
    grid->addWidget(check, static_cast<int>(i), 0);
    grid->addWidget(slider, static_cast<int>(i), 1);
    m_rows.emplace_back(check, slider);
  }
  grid->setColumnStretch(1, 1);
  return box;
}

QWidget* CAutomarkDialog::MakeTitled(const QString& title, COrderedList* list) {
  auto* const label = new QLabel(title);
  label->setBuddy(list->focusProxy());  // what holds no focus itself is no aim for a mnemonic
  auto* const titled = new QWidget;
  auto* const layout = new QVBoxLayout(titled);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(label);
  layout->addWidget(list);
  return titled;
}

void CAutomarkDialog::ShowLists(bool defaultsOnly) {
  (void)m_automark.LoadPriorities(defaultsOnly, &m_shownPriorities);
  (void)m_automark.LoadFolders(defaultsOnly, &m_shownFolders);
  (void)m_automark.LoadExtensions(defaultsOnly, &m_shownExtensions);
  const auto known = m_automark.Criteria();
  QStringList criteria;
  QStringList tips;
  for (const FieldId id : m_shownPriorities) {
    const auto found = std::find_if(known.begin(), known.end(),
                                    [id](const auto& criterion) { return criterion.id == id; });
    criteria.append(found == known.end() ? QString() : QString::fromUtf8(found->shownText));
    tips.append(WorseFile(id));
  }
  m_priorities->SetEntries(criteria, tips);
  QStringList folders;
  for (const std::string& folder : m_shownFolders) folders.append(ShownPath(folder));
  m_folders->SetEntries(folders, folders);
  QStringList extensions;
  tips.clear();
  for (const std::string& extension : m_shownExtensions) {
    extensions.append(ShownPath(extension));
    tips.append(extension.empty() ? tr("Files with no extension") : QString());
  }
  m_extensions->SetEntries(extensions, tips);
}

void CAutomarkDialog::SetDefaults() {
  ShowLists(true);
  for (size_t i = 0; i < m_rows.size(); ++i) {
    if (!m_allowed[i]) continue;
    m_rows[i].first->setChecked(true);
    m_rows[i].second->SetValue(m_automark.Thresholds()[i].windowDefault);
  }
}

}  // namespace

bool RunAutomarkWindow(QWidget* parent, CAutomark& automark) {
  const std::vector<bool> allowed = automark.Allowed();
  CAutomarkDialog dialog(parent, automark, allowed);
  if (dialog.exec() != QDialog::Accepted) return false;
  dialog.Save();
  automark.Mark(allowed);
  return true;
}

}  // namespace quill
