// A text field for effect programs: colours, line numbers, completion with help, the place of a
// fault underlined, and what each line leaves, written behind it.
//
// Ctrl-Space completes, Ctrl-Shift-Space shows how the function is called, F1 explains the word,
// Ctrl-/ switches comments, Tab indents by four; Ctrl-Tab leaves.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <QPlainTextEdit>

#include "Dravin/commands/effect_check.h"

class CodeColors;
class QCompleter;
class QStandardItemModel;

class CodeEdit : public QPlainTextEdit {
public:
    explicit CodeEdit(QWidget* parent = nullptr);

    // The parameters of the effect, which are words, too.
    void SetVariables(const std::vector<TEffectVariable>& variables);
    // Underlines the place; none: nothing.
    void ShowFault(const std::optional<TProgramFault>& fault);
    void GoToFault();
    void ShowValues(std::vector<TLineValue> values);
    const std::vector<TLineValue>& Values() const { return m_values; }
    void ToggleComment();
    // The next place of a text from the cursor on, round the end; false: there is none.
    bool Find(const QString& text);
    // Replaces the selected text where it is `text`, and goes to the next.
    bool Replace(const QString& text, const QString& by);
    // Help of the word at the cursor, and how the function around it is called; empty: none.
    QString HelpAtCursor() const;
    QString CallAtCursor() const;
    QCompleter* Completer() const { return m_completer; }
    void Complete(bool isAsked);

    // Called with what F1 found.
    std::function<void(const QString&)> onHelp;

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    friend class LineNumbers;
    void PaintNumbers(QWidget* margin);
    void LayMargin();
    void Underline();
    void OfferWords(bool attributes);
    void Insert(const QString& word);
    QString WordBefore() const;
    bool IsBehindPoint() const;
    QString HelpOf(const QString& word) const;

    QWidget* m_margin;
    CodeColors* m_colors;
    QCompleter* m_completer;
    QStandardItemModel* m_words;
    std::vector<TEffectVariable> m_variables;
    std::optional<TProgramFault> m_fault;
    std::vector<TLineValue> m_values;
};
