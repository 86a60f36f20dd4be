#pragma once

#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <vector>

namespace postkite::ui {

/// Colours quoted lines and underlines links, in colours of the palette in force.
class MessageHighlighter final : public QSyntaxHighlighter {
    Q_OBJECT

  public:
    explicit MessageHighlighter(QTextDocument* document) : QSyntaxHighlighter(document) {}

    void SetPalette(const QPalette& palette);
    /// What quoted lines begin with, besides ">" and "|"; blanks may stand before.
    void SetQuotationMark(const QString& mark) { mark_ = mark; }
    /// To be called before the text is set: header lines are not quoted, and continuing blocks are as their line is.
    void SetBlocks(int headerBlocks, const std::vector<int>& continuing);

  protected:
    void highlightBlock(const QString& text) override;

  private:
    [[nodiscard]] bool IsQuoted(const QString& text) const;

    QTextCharFormat quote_;
    QTextCharFormat link_;
    QString mark_;
    int headerBlocks_ = 0;
    std::vector<int> continuing_;
};

}  // namespace postkite::ui
