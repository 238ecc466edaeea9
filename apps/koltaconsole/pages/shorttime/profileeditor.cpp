#include "profileeditor.h"

#include <common/profilemembers.h>
#include <koltacommon/viewtime.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/elidedlabel.h>
#include <koltaconsole/widgets/looklabel.h>

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;

namespace {

constexpr int kFieldWidth = 160;
constexpr int kValueWidth = 300;
constexpr int kComparisonHeight = 110;
constexpr int kNoModulation = 1000; ///< beside the codes
constexpr int kForeignRole = Qt::UserRole + 1;

/// All that the editor shows of a profile, and what it must not lose.
QJsonObject toJson(const ShortTimeProfile& profile)
{
    QJsonArray texts;
    for (int field = 0; field < kTypedFieldCount; ++field)
        texts.append(fieldText(profile, static_cast<ProfileField>(field)));
    return {{QStringLiteral("texts"), texts},
            {QStringLiteral("useModulation"), profile.useModulation},
            {QStringLiteral("modulation"), profile.modulation},
            {QStringLiteral("type"), profile.type},
            {QStringLiteral("hopper"), profile.hopperFlag}};
}

ShortTimeProfile profileOf(const QJsonObject& json)
{
    ShortTimeProfile profile;
    const QJsonArray texts = json.value(QStringLiteral("texts")).toArray();
    for (int field = 0; field < kTypedFieldCount; ++field)
        takeField(profile, static_cast<ProfileField>(field), texts.at(field).toString());
    profile.modulation = static_cast<qint8>(json.value(QStringLiteral("modulation")).toInt());
    profile.useModulation = json.value(QStringLiteral("useModulation")).toBool(profile.modulation != 0);
    profile.type = static_cast<Kolta::eShortTimeProfileType>(json.value(QStringLiteral("type")).toInt());
    profile.hopperFlag = json.value(QStringLiteral("hopper")).toBool();
    return profile;
}

int modulationCode(const ShortTimeProfile& profile)
{
    return profile.useModulation ? profile.modulation : kNoModulation;
}

/// What a server has and nobody can choose is offered as long as it is the profile's.
void choose(QComboBox& box, int value, const QString& title)
{
    const int foreign = box.findData(true, kForeignRole);
    if (foreign >= 0)
        box.removeItem(foreign);
    if (box.findData(value) < 0) {
        box.addItem(title, value);
        box.setItemData(box.count() - 1, true, kForeignRole);
    }
    box.setCurrentIndex(box.findData(value));
}

bool isSame(const ShortTimeProfile& a, const ShortTimeProfile& b)
{
    return differingFields(a, b).isEmpty();
}

} // namespace

ProfileEditor::ProfileEditor(QWidget* parent)
    : QWidget(parent)
    , m_heading(new ElidedLabel(this))
    , m_top(new QHBoxLayout)
    , m_comparison(new QTreeWidget(this))
    , m_modulation(new QComboBox(this))
    , m_type(new QComboBox(this))
{
    makeHeading();
    makeFields();
    fill();
}

void ProfileEditor::makeHeading()
{
    m_heading->setProperty("heading", true);
    m_comparison->setHeaderLabels({tr("Field"), tr("Mine"), tr("Theirs")});
    dressTable(*m_comparison);
    m_comparison->setAccessibleName(tr("Where mine and theirs differ"));
    m_comparison->header()->resizeSection(0, kFieldWidth);
    m_comparison->header()->resizeSection(1, kValueWidth);
    m_comparison->setFixedHeight(kComparisonHeight);
    makeLists();
}

void ProfileEditor::makeLists()
{
    m_modulation->setAccessibleName(fieldTitle(ProfileField::Modulation));
    m_modulation->addItem(tr("not in use"), kNoModulation);
    for (const QString& name : KoltaApps::modulationNames())
        m_modulation->addItem(name, int(Kolta::stringToModulationType(name)));
    m_type->setAccessibleName(tr("Type"));
    for (int type = Kolta::eShortTimeProfileUnspecified; type <= Kolta::eShortTimeProfileIgnore; ++type)
        m_type->addItem(ShortTimeProfile::typeTitle(static_cast<Kolta::eShortTimeProfileType>(type)), type);
    for (QComboBox* const box : {m_modulation, m_type})
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, &ProfileEditor::read);
}

void ProfileEditor::makeFields()
{
    m_top->setSpacing(8);
    m_top->addWidget(m_heading, 1);
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(2);
    constexpr int kAcross = 3;
    const auto place = [grid, this](int cell, const QString& title, QWidget* field, QWidget* hint) {
        const int row = cell / kAcross * 2, column = cell % kAcross * 2;
        auto* const label = new QLabel(title, this);
        label->setBuddy(field);
        grid->addWidget(label, row, column);
        grid->addWidget(field, row, column + 1);
        if (hint)
            grid->addWidget(hint, row + 1, column + 1);
        grid->setColumnStretch(column + 1, 1);
    };
    for (int i = 0; i < kTypedFieldCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        m_lines[at] = new QLineEdit(this);
        m_lines[at]->setPlaceholderText(i == 0 ? tr("of the profile") : tr("not in use"));
        m_lines[at]->setAccessibleName(fieldTitle(static_cast<ProfileField>(i)));
        if (i == static_cast<int>(ProfileField::Duration))
            m_lines[at]->setToolTip(tr("whole numbers, in the unit in which the processors count"));
        m_hints[at] = new LookLabel(this);
        m_hints[at]->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        m_hints[at]->hide();
        connect(m_lines[at], &QLineEdit::textChanged, this, &ProfileEditor::read);
        place(i, fieldTitle(static_cast<ProfileField>(i)), m_lines[at], m_hints[at]);
    }
    place(kTypedFieldCount, fieldTitle(ProfileField::Modulation), m_modulation, nullptr);
    place(kTypedFieldCount + 1, tr("Type"), m_type, nullptr);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->addLayout(m_top);
    layout->addWidget(m_comparison);
    layout->addLayout(grid);
}

void ProfileEditor::edit(const ShortTimeProfile& profile)
{
    if (m_original.name != profile.name)
        m_use.clear();
    m_original = m_draft = profile;
    m_isGone = false;
    m_theirs.reset();
    m_news.clear();
    m_failure.clear();
    fill();
}

void ProfileEditor::fill()
{
    m_isFilling = true;
    for (int i = 0; i < kTypedFieldCount; ++i)
        m_lines[static_cast<std::size_t>(i)]->setText(fieldText(m_draft, static_cast<ProfileField>(i)));
    fillLists();
    m_isFilling = false;
    read();
}

void ProfileEditor::fillLists()
{
    const int code = modulationCode(m_draft);
    choose(*m_modulation, code, code == 0 ? Kolta::modulationTypeToString(0) : QString::number(code));
    choose(*m_type, static_cast<int>(m_draft.type), ShortTimeProfile::typeTitle(m_draft.type));
}

QJsonObject ProfileEditor::written() const
{
    if (!m_isChanged)
        return QJsonObject();
    QJsonObject mine = toJson(m_draft);
    QJsonArray texts;
    for (const QLineEdit* const line : m_lines)
        texts.append(line->text()); // also those that cannot be read
    mine.insert(QStringLiteral("texts"), texts);
    return {{QStringLiteral("original"), toJson(m_original)}, {QStringLiteral("mine"), mine}};
}

ShortTimeProfile ProfileEditor::draftOf(const QJsonObject& written)
{
    return profileOf(written.value(QStringLiteral("mine")).toObject());
}

void ProfileEditor::resume(const QJsonObject& written)
{
    if (written.isEmpty())
        return;
    edit(profileOf(written.value(QStringLiteral("original")).toObject()));
    m_draft = draftOf(written);
    const QJsonArray texts =
        written.value(QStringLiteral("mine")).toObject().value(QStringLiteral("texts")).toArray();
    m_isFilling = true;
    for (int i = 0; i < kTypedFieldCount; ++i)
        m_lines[static_cast<std::size_t>(i)]->setText(texts.at(i).toString());
    fillLists();
    m_isFilling = false;
    read();
}

void ProfileEditor::read()
{
    if (m_isFilling)
        return;
    m_wrong = 0;
    bool isOther = false;
    m_draft = m_original; // whose numbers may be finer than their texts
    for (int i = 0; i < kTypedFieldCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const auto field = static_cast<ProfileField>(i);
        const QString text = m_lines[at]->text();
        const bool isTouched = text != fieldText(m_original, field);
        isOther = isOther || isTouched;
        const bool isTaken = isTouched || (field == ProfileField::Name && text.isEmpty());
        const QString problem = isTaken ? takeField(m_draft, field, text) : QString();
        m_wrong += problem.isEmpty() ? 0 : 1;
        showProblem(field, isTouched ? problem : QString()); // an empty new profile is not wrong yet
    }
    if (const int code = m_modulation->currentData().toInt(); code != modulationCode(m_original)) {
        m_draft.useModulation = code != kNoModulation;
        m_draft.modulation = static_cast<qint8>(m_draft.useModulation ? code : 0);
    }
    m_draft.type = static_cast<Kolta::eShortTimeProfileType>(m_type->currentData().toInt());
    m_isChanged = isOther || !isSame(m_draft, m_original);
    checkName();
    showHeading();
    Q_EMIT si_Written();
}

void ProfileEditor::showProblem(ProfileField field, const QString& problem)
{
    const auto at = static_cast<std::size_t>(field);
    const bool isShown = !problem.isEmpty();
    m_hints[at]->setVisible(isShown);
    m_hints[at]->setLook({Mark::Triangle, Role::Attention, problem, true});
    m_hints[at]->setToolTip(problem);
    if (m_lines[at]->property("wrong").toBool() == isShown)
        return;
    m_lines[at]->setProperty("wrong", isShown);
    m_lines[at]->style()->unpolish(m_lines[at]);
    m_lines[at]->style()->polish(m_lines[at]);
}

void ProfileEditor::checkName()
{
    const QString typed = line(ProfileField::Name)->text().trimmed();
    if (!typed.isEmpty() && m_objectionToName && !m_isSaving)
        showProblem(ProfileField::Name, typed == m_original.name ? QString() : m_objectionToName(typed));
}

/// What was typed since then goes on.
void ProfileEditor::takeSaved(const ShortTimeProfile& profile)
{
    if (m_wrong == 0 && isSame(profile, m_draft)) {
        edit(profile); // which also writes texts as they are written here
        return;
    }
    m_original = profile;
    m_isGone = false;
    m_theirs.reset();
    m_news.clear();
    m_failure.clear();
    read();
}

void ProfileEditor::setObjectionToName(std::function<QString(const QString& name)> objection)
{
    m_objectionToName = std::move(objection);
}

void ProfileEditor::setSaving(bool isSaving)
{
    m_isSaving = isSaving;
    m_failure.clear();
    showHeading();
}

void ProfileEditor::setFailure(const QString& failure)
{
    m_failure = failure;
    showHeading();
}

void ProfileEditor::takeTheirs(const ShortTimeProfile& profile)
{
    m_isGone = false;
    if (isSame(profile, m_original)) {
        m_original = profile; // what the fields do not show included
        m_theirs.reset();
        m_news.clear(); // it is as it was again
        read();
        return;
    }
    if (!m_isChanged || (m_wrong == 0 && isSame(profile, m_draft))) {
        edit(profile);
        return;
    }
    if (m_theirs && isSame(profile, *m_theirs))
        return; // which was told
    m_theirs = profile;
    m_news = tr("changed by others at %1").arg(timeText(Kolta::ViewTime::now()));
    showHeading();
}

void ProfileEditor::takeRemoval()
{
    if (m_isGone)
        return;
    if (m_isChanged)
        takeGone(tr("removed by others at %1"));
    else
        edit(ShortTimeProfile());
}

bool ProfileEditor::keepRemoved(const ShortTimeProfile& profile)
{
    if (!canKeep(profile.name))
        return false;
    if (m_original.name != profile.name)
        edit(profile);
    takeGone(tr("removed here at %1, Save puts it back"));
    return true;
}

void ProfileEditor::takeGone(const QString& news)
{
    m_isGone = true;
    m_theirs.reset();
    m_news = news.arg(timeText(Kolta::ViewTime::now()));
    showHeading();
}

void ProfileEditor::undo()
{
    if (!m_isGone) {
        edit(m_theirs.value_or(m_original));
        return;
    }
    m_draft = m_original;
    m_failure.clear();
    fill();
}

void ProfileEditor::showHeading()
{
    QStringList parts{m_draft.name.isEmpty() ? tr("New profile") : m_draft.name};
    const bool isOpen = m_isChanged || m_isGone;
    if (isOpen && m_isSaving)
        parts.append(tr("being saved"));
    else if (isOpen && !m_failure.isEmpty())
        parts.append(tr("changed, not saved: %1").arg(m_failure));
    else if (m_isChanged)
        parts.append(tr("changed, not saved"));
    else if (!m_use.isEmpty())
        parts.append(m_use);
    if (!m_news.isEmpty())
        parts.append(m_news);
    m_heading->setText(parts.join(QStringLiteral(" — ")));
    for (QPushButton* const button : qAsConst(m_newsButtons))
        button->setVisible(hasTheirs());
    showComparison();
    Q_EMIT si_StateChanged();
}

void ProfileEditor::showComparison()
{
    const bool isShown = m_theirs && m_isComparing;
    if (m_compare)
        m_compare->setChecked(isShown);
    m_comparison->setVisible(isShown);
    m_comparison->clear();
    if (!isShown)
        return;
    const auto shown = [](const QString& text) { return text.isEmpty() ? tr("not in use") : text; };
    for (const FieldDifference& difference : differingFields(m_draft, *m_theirs)) {
        auto* const item = new QTreeWidgetItem(
            m_comparison, {difference.field, shown(difference.mine), shown(difference.theirs)});
        for (int column = 0; column < 3; ++column)
            item->setToolTip(column, item->text(column));
    }
}

QString ProfileEditor::objectionToSave() const
{
    if (m_isSaving)
        return tr("It is being saved.");
    if (line(ProfileField::Name)->text().trimmed().isEmpty() && m_isChanged)
        return tr("The profile has no name.");
    if (m_wrong > 0)
        return tr("A field cannot be read.");
    if (hasTheirs())
        return tr("Others have changed it: take theirs or keep mine first.");
    return m_isChanged || m_isGone ? QString() : tr("Nothing has changed.");
}

QString ProfileEditor::objectionToUndo() const
{
    if (m_isSaving)
        return tr("It is being saved.");
    return m_isChanged ? QString() : tr("Nothing has changed.");
}

void ProfileEditor::compare()
{
    m_isComparing = !m_isComparing;
    showHeading();
}

void ProfileEditor::addButtons(const ActionTable& actions, const QStringList& news, const QStringList& ids)
{
    for (const QString& id : news)
        m_newsButtons.append(actions.makeButton(id, this));
    for (QPushButton* const button : qAsConst(m_newsButtons))
        m_top->addWidget(button);
    for (const QString& id : ids)
        m_top->addWidget(actions.makeButton(id, this));
    m_compare = m_newsButtons.first();
    m_compare->setCheckable(true);
    showHeading();
}

void ProfileEditor::setUse(const QString& use)
{
    if (m_use == use)
        return;
    m_use = use;
    showHeading();
}

} // namespace KoltaConsole
