#include "apps/studio/windows/code_edit.h"

#include <set>

#include <QAbstractItemView>
#include <QCompleter>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QToolTip>

#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "Dravin/effects/tavuvm_expr/lexer.h"
#include "Dravin/panels/effect_words.h"
#include "apps/studio/theme.h"

namespace {

using tavuvm_expr::token;
using tavuvm_expr::token_type;

constexpr int kTabWidth = 4;

QString Text(const std::string& text) { return QString::fromStdString(text); }
bool IsWordChar(QChar c) { return c.isLetterOrNumber() || c == '_'; }

QString RichHelp(const TEffectWord& word) {
    return QString("<b>%1</b><br>%2")
        .arg(Text(word.signature).toHtmlEscaped(), Text(word.help).toHtmlEscaped());
}

}  // namespace

// Colours one line, by the language's own lexer. Characters beyond ASCII have no meaning to it and
// are handed on as one byte each, so that places stay places of the line.
class CodeColors : public QSyntaxHighlighter {
public:
    using QSyntaxHighlighter::QSyntaxHighlighter;
    std::set<std::string> variables;  // folded

protected:
    void highlightBlock(const QString& line) override {
        const QByteArray bytes = line.toLatin1();
        tavuvm_expr::parser::lexer lexer(std::string_view(bytes.constData(), size_t(bytes.size())));
        bool isMember = false;
        for (token t = lexer.next(); !t.is(token_type::end); t = lexer.next()) {
            size_t end = t.end;
            if (t.is('#')) return Color(t.begin, size_t(bytes.size()), CurrentColors().dimText);
            if (t.is('"')) {
                std::optional<std::string> text = lexer.raw_string();
                end = text ? std::min(t.end + text->size() + 1, size_t(bytes.size()))
                           : size_t(bytes.size());
                Color(t.begin, end, CurrentColors().warning);
                if (!text) return;
            } else {
                ColorToken(t, lexer.identifier(), isMember);
            }
            isMember = t.is('.');
        }
    }

private:
    void ColorToken(const token& t, const std::string& identifier, bool isMember) {
        const ThemeColors& c = CurrentColors();
        if (t.is_character) return;
        if (t.type == token_type::integer_literal || t.type == token_type::real_literal)
            return Color(t.begin, t.end, c.warning);
        if (t.type == token_type::invalid) return Color(t.begin, t.end, c.error);
        if (t.type != token_type::identifier) {
            if (!t.is_operator()) Color(t.begin, t.end, c.keyed, true);
            return;
        }
        if (!isMember && variables.contains(identifier))
            return Color(t.begin, t.end, c.keyed.lighter(120));
        const TEffectWord* word = FindEffectWord(identifier);
        if (!word && identifier != "dpitem") return;
        bool isAttribute = word && word->kind == EffectWordKind::kAttribute;
        if (isAttribute != isMember) return;
        Color(t.begin, t.end, c.accent);
    }
    void Color(size_t begin, size_t end, const QColor& color, bool isBold = false) {
        QTextCharFormat format;
        format.setForeground(color);
        if (isBold) format.setFontWeight(QFont::Bold);
        setFormat(int(begin), int(end - begin), format);
    }
};

class LineNumbers : public QWidget {
public:
    explicit LineNumbers(CodeEdit* edit) : QWidget(edit), m_edit(edit) {}

protected:
    void paintEvent(QPaintEvent*) override { m_edit->PaintNumbers(this); }

private:
    CodeEdit* m_edit;
};

CodeEdit::CodeEdit(QWidget* parent) : QPlainTextEdit(parent) {
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setLineWrapMode(NoWrap);
    setTabStopDistance(kTabWidth * QFontMetricsF(font()).horizontalAdvance(' '));
    setAccessibleName("Program");
    setObjectName("program");
    m_margin = new LineNumbers(this);
    m_colors = new CodeColors(document());
    m_words = new QStandardItemModel(this);
    m_completer = new QCompleter(m_words, this);
    m_completer->setWidget(this);
    m_completer->setCaseSensitivity(Qt::CaseInsensitive);
    m_completer->setFilterMode(Qt::MatchContains);
    connect(m_completer, qOverload<const QString&>(&QCompleter::activated), this,
            [this](const QString& word) { Insert(word); });
    connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { LayMargin(); });
    connect(this, &QPlainTextEdit::updateRequest, this, [this] { m_margin->update(); });
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, [this] { Underline(); });
    LayMargin();
}

void CodeEdit::SetVariables(const std::vector<TEffectVariable>& variables) {
    m_variables = variables;
    m_colors->variables.clear();
    for (const TEffectVariable& v : variables)
        m_colors->variables.insert(tavuvm_expr::folded(v.name));
    m_colors->rehighlight();
}

// --- help

QString CodeEdit::HelpOf(const QString& word) const {
    for (const TEffectVariable& v : m_variables)
        if (Text(v.name).compare(word, Qt::CaseInsensitive) == 0)
            return QString("<b>%1 %2</b><br>%3")
                .arg(v.kind < 0 ? "" : kEffectKinds[v.kind].word, Text(v.name).toHtmlEscaped(),
                     v.description.empty() ? QString("A parameter of the effect.")
                                           : Text(v.description).toHtmlEscaped());
    const TEffectWord* found = FindEffectWord(word.toStdString());
    return found ? RichHelp(*found) : QString();
}

QString CodeEdit::HelpAtCursor() const {
    QTextCursor cursor = textCursor();
    cursor.select(QTextCursor::WordUnderCursor);
    return HelpOf(cursor.selectedText());
}

// The name before the parenthesis that is open at the cursor.
QString CodeEdit::CallAtCursor() const {
    QString text = toPlainText().left(textCursor().position());
    int depth = 0;
    for (qsizetype i = text.size(); i-- > 0 && text[i] != ';';) {
        if (text[i] == ')') ++depth;
        if (text[i] != '(' || depth-- > 0) continue;
        qsizetype end = i;
        while (i > 0 && IsWordChar(text[i - 1])) --i;
        if (QString help = HelpOf(text.mid(i, end - i)); !help.isEmpty()) return help;
        depth = 0;
    }
    return {};
}

bool CodeEdit::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QPlainTextEdit::event(event);
    auto* help = static_cast<QHelpEvent*>(event);
    QTextCursor cursor = cursorForPosition(viewport()->mapFrom(this, help->pos()));
    bool isFault = m_fault && cursor.blockNumber() + 1 == m_fault->line;
    cursor.select(QTextCursor::WordUnderCursor);
    QString text = isFault ? Text(m_fault->message) : HelpOf(cursor.selectedText());
    QToolTip::showText(help->globalPos(), text, this);
    return true;
}

// --- completion

QString CodeEdit::WordBefore() const {
    QString line = textCursor().block().text().left(textCursor().positionInBlock());
    qsizetype begin = line.size();
    while (begin > 0 && IsWordChar(line[begin - 1])) --begin;
    return line.mid(begin);
}

bool CodeEdit::IsBehindPoint() const {
    QString line = textCursor().block().text().left(textCursor().positionInBlock());
    line.chop(WordBefore().size());
    if (!line.endsWith('.')) return false;
    return line.chopped(1).endsWith("dpItem", Qt::CaseInsensitive);
}

void CodeEdit::OfferWords(bool attributes) {
    m_words->clear();
    auto add = [this](const std::string& name) {
        auto* item = new QStandardItem(Text(name));
        item->setToolTip(HelpOf(Text(name)));
        m_words->appendRow(item);
    };
    for (const TEffectVariable& v : m_variables)
        if (!attributes) add(v.name);
    for (const TEffectWord& word : EffectWords())
        if ((word.kind == EffectWordKind::kAttribute) == attributes) add(word.name);
}

// Behind "dpItem." the attributes, elsewhere all but them.
void CodeEdit::Complete(bool isAsked) {
    QString word = WordBefore();
    bool wantsAttributes = IsBehindPoint();
    constexpr int kLeast = 2;
    if (!isAsked && !wantsAttributes && word.size() < kLeast) return m_completer->popup()->hide();
    OfferWords(wantsAttributes);
    m_completer->setCompletionPrefix(word);
    bool isDone = m_completer->completionCount() == 1 &&
                  m_completer->currentCompletion().compare(word, Qt::CaseInsensitive) == 0;
    if (m_completer->completionCount() == 0 || isDone) return m_completer->popup()->hide();
    QRect place = cursorRect();
    place.setWidth(m_completer->popup()->sizeHintForColumn(0) + 32);
    m_completer->complete(place);
    m_completer->popup()->setCurrentIndex(m_completer->completionModel()->index(0, 0));
}

void CodeEdit::Insert(const QString& word) {
    QTextCursor cursor = textCursor();
    cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, int(WordBefore().size()));
    cursor.insertText(word);
    setTextCursor(cursor);
}

void CodeEdit::keyPressEvent(QKeyEvent* event) {
    bool isControl = event->modifiers() & Qt::ControlModifier;
    bool isOpen = m_completer->popup()->isVisible();
    if (isOpen && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                   event->key() == Qt::Key_Tab || event->key() == Qt::Key_Escape))
        return event->ignore();
    if (isControl && event->key() == Qt::Key_Space) {
        if (event->modifiers() & Qt::ShiftModifier)
            return QToolTip::showText(mapToGlobal(cursorRect().bottomRight()), CallAtCursor(),
                                      this);
        return Complete(true);
    }
    if (isControl && event->key() == Qt::Key_Slash) return ToggleComment();
    if (event->key() == Qt::Key_F1) {
        if (onHelp) onHelp(HelpAtCursor());
        return;
    }
    if (isControl && (event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab)) {
        focusNextPrevChild(event->key() == Qt::Key_Tab);
        return;
    }
    if (event->key() == Qt::Key_Tab && !textCursor().hasSelection()) {
        int column = textCursor().positionInBlock();
        return insertPlainText(QString(kTabWidth - column % kTabWidth, ' '));
    }
    QPlainTextEdit::keyPressEvent(event);
    bool isTyped = !event->text().isEmpty() && !isControl;
    bool isWord = isTyped && (IsWordChar(event->text()[0]) || event->text() == ".");
    if (isWord || (isOpen && event->key() == Qt::Key_Backspace))
        Complete(false);
    else if (isTyped)
        m_completer->popup()->hide();
}

// --- text

void CodeEdit::ToggleComment() {
    QTextCursor cursor = textCursor();
    QTextBlock first = document()->findBlock(cursor.selectionStart());
    QTextBlock last = document()->findBlock(cursor.selectionEnd());
    auto isComment = [](const QTextBlock& b) { return b.text().trimmed().startsWith('#'); };
    bool isAll = true;
    for (QTextBlock b = first; b.isValid() && b.blockNumber() <= last.blockNumber(); b = b.next())
        isAll &= isComment(b) || b.text().trimmed().isEmpty();
    cursor.beginEditBlock();
    for (QTextBlock b = first; b.isValid() && b.blockNumber() <= last.blockNumber(); b = b.next()) {
        if (b.text().trimmed().isEmpty()) continue;
        QTextCursor at(b);
        if (!isAll) {
            at.insertText("# ");
            continue;
        }
        at.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, int(b.text().indexOf('#')));
        int length = b.text().mid(b.text().indexOf('#')).startsWith("# ") ? 2 : 1;
        at.movePosition(QTextCursor::Right, QTextCursor::KeepAnchor, length);
        at.removeSelectedText();
    }
    cursor.endEditBlock();
}

bool CodeEdit::Find(const QString& text) {
    if (text.isEmpty()) return false;
    if (find(text)) return true;
    QTextCursor from = textCursor(), start(document());
    setTextCursor(start);
    if (find(text)) return true;
    setTextCursor(from);
    return false;
}

bool CodeEdit::Replace(const QString& text, const QString& by) {
    QTextCursor cursor = textCursor();
    bool isHere = cursor.selectedText().compare(text, Qt::CaseInsensitive) == 0;
    if (isHere && !text.isEmpty()) cursor.insertText(by);
    return Find(text);
}

// --- faults and values

void CodeEdit::ShowFault(const std::optional<TProgramFault>& fault) {
    m_fault = fault;
    Underline();
    m_margin->update();
}

// The word at the place, at least one character; the line of the cursor is lit.
void CodeEdit::Underline() {
    QList<QTextEdit::ExtraSelection> marks;
    QTextEdit::ExtraSelection line;
    line.format.setBackground(CurrentColors().panel);
    line.format.setProperty(QTextFormat::FullWidthSelection, true);
    line.cursor = textCursor();
    line.cursor.clearSelection();
    marks.append(line);
    QTextBlock block = m_fault ? document()->findBlockByNumber(m_fault->line - 1) : QTextBlock();
    if (block.isValid()) {
        QByteArray bytes = block.text().toUtf8();
        auto column = int(QString::fromUtf8(bytes.left(m_fault->column - 1)).size());
        int length = 1;
        while (column + length < block.text().size() && IsWordChar(block.text()[column + length]))
            ++length;
        if (column >= block.text().size()) column = std::max(0, int(block.text().size()) - 1);
        QTextEdit::ExtraSelection mark;
        mark.format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
        mark.format.setUnderlineColor(CurrentColors().error);
        mark.cursor = QTextCursor(block);
        mark.cursor.setPosition(block.position() + column);
        mark.cursor.setPosition(
            std::min(block.position() + column + length, block.position() + block.length() - 1),
            QTextCursor::KeepAnchor);
        marks.append(mark);
    }
    setExtraSelections(marks);
}

void CodeEdit::GoToFault() {
    QTextBlock block = m_fault ? document()->findBlockByNumber(m_fault->line - 1) : QTextBlock();
    if (!block.isValid()) return;
    QString before = QString::fromUtf8(block.text().toUtf8().left(m_fault->column - 1));
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + int(before.size()));
    setTextCursor(cursor);
    setFocus();
}

void CodeEdit::ShowValues(std::vector<TLineValue> values) {
    m_values = std::move(values);
    viewport()->update();
}

void CodeEdit::paintEvent(QPaintEvent* event) {
    QPlainTextEdit::paintEvent(event);
    QPainter painter(viewport());
    painter.setFont(font());
    painter.setPen(CurrentColors().dimText);
    int line = -1;
    QString text;
    auto draw = [&] {
        QTextBlock block = document()->findBlockByNumber(line - 1);
        if (!block.isValid() || !block.isVisible()) return;
        QRectF place = blockBoundingGeometry(block).translated(contentOffset());
        double right = place.left() + fontMetrics().horizontalAdvance(block.text()) + 24;
        QFont slanted = font();
        slanted.setItalic(true);
        painter.setFont(slanted);
        painter.drawText(QRectF(right, place.top(), 2000, place.height()),
                         Qt::AlignLeft | Qt::AlignVCenter, text);
    };
    for (const TLineValue& value : m_values) {
        if (value.line != line && line > 0) draw(), text.clear();
        line = value.line;
        text += (text.isEmpty() ? "" : ",  ") + Text(value.text);
    }
    if (line > 0) draw();
}

// --- the margin

void CodeEdit::LayMargin() {
    int digits = std::max(2, int(QString::number(blockCount()).size()));
    int width = 16 + digits * fontMetrics().horizontalAdvance('9');
    setViewportMargins(width, 0, 0, 0);
    m_margin->setGeometry(0, 0, width, height());
}

void CodeEdit::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    LayMargin();
}

void CodeEdit::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    m_colors->rehighlight();
    Underline();
}

void CodeEdit::PaintNumbers(QWidget* margin) {
    QPainter painter(margin);
    const ThemeColors& colors = CurrentColors();
    painter.fillRect(margin->rect(), colors.window);
    painter.setFont(font());
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        QRectF place = blockBoundingGeometry(block).translated(contentOffset());
        if (place.top() > height()) break;
        int number = block.blockNumber() + 1;
        bool isFault = m_fault && m_fault->line == number;
        bool isHere = block == textCursor().block();
        painter.setPen(isFault ? colors.error : isHere ? colors.text : colors.dimText);
        QRectF box(0, place.top(), margin->width() - 8, place.height());
        painter.drawText(box, Qt::AlignRight | Qt::AlignVCenter,
                         (isFault ? QString(u'\u25cf') : QString()) + QString::number(number));
    }
}
