// Feeds the table of the sync preview from a dictionary of rows: "numEntries", perhaps "localTempPath", and each row
// under its index as decimal text. Nothing fills it yet: no sync shows a preview.
// Thread: main. Owns: the rows; the table is not owned. Errors: what is missing reads as null.
#pragma once

#include "base/Paths.h"
#include "base/Value.h"
#include "config/PreviewTable.h"

#include <optional>
#include <string>

namespace vt {

class VTPreviewTableDataSource {
  public:
    static constexpr PreviewColour highlight{0.6, 0.7, 0.6, 1.0};

    explicit VTPreviewTableDataSource(HomePaths homePaths) : _homePaths(std::move(homePaths)) {}

    [[nodiscard]] const std::optional<Value::Dictionary>& dataStorage() const { return m_dataStorage; }
    void setDataStorage(std::optional<Value::Dictionary> rows) { m_dataStorage = std::move(rows); }
    [[nodiscard]] const std::optional<Value::Dictionary>& root() const { return m_dataStorage; }
    [[nodiscard]] PreviewTable* tableView() const { return m_tableView; }
    void setTableView(PreviewTable* table) { m_tableView = table; }

    void deleteAllRows();
    void updateData(); // reloads the table
    [[nodiscard]] const Value::Dictionary* objectAtRow(long row) const;
    [[nodiscard]] const Value::Dictionary* objectAtSelectedRow() const;

    // -1 where there are no rows, not even none.
    [[nodiscard]] static long numberOfRowsInTableView(const PreviewTable& table);
    [[nodiscard]] Value objectValueFor(const std::optional<std::string>& column, long row) const;
    void setObjectValue(const Value& value, const std::string& column, long row);
    [[nodiscard]] static bool shouldSelectRow(long) { return false; }
    [[nodiscard]] static bool shouldEditTableColumn(const std::string&, long) { return false; }
    void tableSingleAction();
    void tableDoubleAction() { tableSingleAction(); }
    void willDisplayCell(PreviewCell& cell, const PreviewTable& table, const std::string& column, long row) const;
    [[nodiscard]] bool shouldHighlightColumnWithID(const std::string& column, long row) const;

  private:
    std::optional<Value::Dictionary> m_dataStorage;
    PreviewTable* m_tableView = nullptr;
    HomePaths _homePaths;
};

} // namespace vt
