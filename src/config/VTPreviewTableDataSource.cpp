#include "config/VTPreviewTableDataSource.h"

#include "config/VTPreviewSyncEntry.h"
#include "config/utilities/TypedGetters.h"

namespace vt {

void VTPreviewTableDataSource::deleteAllRows() {
    if (m_dataStorage) m_dataStorage->clear();
}

void VTPreviewTableDataSource::updateData() {
    if (m_tableView != nullptr) m_tableView->reloadData();
}

const Value::Dictionary* VTPreviewTableDataSource::objectAtRow(long row) const {
    return m_dataStorage ? dictionaryForKey(*m_dataStorage, std::to_string(row)) : nullptr;
}

const Value::Dictionary* VTPreviewTableDataSource::objectAtSelectedRow() const {
    return m_tableView != nullptr ? objectAtRow(m_tableView->selectedRow()) : nullptr;
}

long VTPreviewTableDataSource::numberOfRowsInTableView(const PreviewTable& table) {
    const VTPreviewTableDataSource* source = table.dataSource();
    if (source == nullptr || !source->dataStorage()) return -1;
    const Value* count = numberForKey(*source->dataStorage(), "numEntries");
    return count != nullptr ? static_cast<long>(count->integerValue()) : -1;
}

Value VTPreviewTableDataSource::objectValueFor(const std::optional<std::string>& column, long row) const {
    const Value::Dictionary* values = objectAtRow(row);
    if (values == nullptr || !column) return {};
    VTPreviewSyncEntry entry(*values, _homePaths);
    if (const std::string* temporary = stringForKey(*m_dataStorage, "localTempPath"))
        entry.setLocalTempPath(*temporary);
    return entry.valueForKey(*column);
}

void VTPreviewTableDataSource::setObjectValue(const Value& value, const std::string& column, long row) {
    const Value::Dictionary* values = objectAtRow(row);
    if (values == nullptr) return;
    Value::Dictionary changed = *values;
    changed.insert_or_assign(column, value);
    m_dataStorage->insert_or_assign(std::to_string(row), std::move(changed));
}

void VTPreviewTableDataSource::tableSingleAction() {
    if (m_tableView == nullptr) return;
    const long row = m_tableView->clickedRow();
    const auto column = m_tableView->clickedColumn();
    const Value::Dictionary* values = objectAtRow(row);
    if (row < 0 || !column || values == nullptr) return;
    VTPreviewSyncEntry entry(*values, _homePaths);
    if (!entry.clickedColumnWithIdentifier(*column)) return;
    m_dataStorage->insert_or_assign(std::to_string(row), entry.entryDict());
    updateData();
}

void VTPreviewTableDataSource::willDisplayCell(PreviewCell& cell, const PreviewTable& table, const std::string& column,
                                               long row) const {
    if (!cell.takesBackgroundColour()) return;
    cell.setBackgroundColour(shouldHighlightColumnWithID(column, row) ? highlight : table.backgroundColour());
    cell.setDrawsBackground(true);
}

bool VTPreviewTableDataSource::shouldHighlightColumnWithID(const std::string& column, long row) const {
    const Value::Dictionary* values = objectAtRow(row);
    if (values == nullptr) return false;
    const auto action = VTPreviewSyncEntry(*values, _homePaths).actionToPerform();
    if (column == "pushkeyFileInfo") return action == 2U || action == 4U;
    if (column == "localFileInfo") return action == 1U || action == 3U;
    return false;
}

} // namespace vt
