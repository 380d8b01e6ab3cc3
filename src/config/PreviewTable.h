// What the sync preview needs of a table widget. Thread: main. Units: rows count from 0; columns go by identifiers.
#pragma once

#include <optional>
#include <string>

namespace vt {

class VTPreviewTableDataSource;

// Of the device's own colour space; each part from 0 to 1.
struct PreviewColour {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    bool operator==(const PreviewColour&) const = default;
};

class PreviewTable {
  public:
    virtual ~PreviewTable() = default;
    virtual void reloadData() = 0;
    [[nodiscard]] virtual const VTPreviewTableDataSource* dataSource() const = 0;
    [[nodiscard]] virtual PreviewColour backgroundColour() const = 0;
    // Of the last click; below 0, or null: it hit none.
    [[nodiscard]] virtual long clickedRow() const = 0;
    [[nodiscard]] virtual std::optional<std::string> clickedColumn() const = 0;
    [[nodiscard]] virtual long selectedRow() const = 0; // below 0: none
};

class PreviewCell {
  public:
    virtual ~PreviewCell() = default;
    [[nodiscard]] virtual bool takesBackgroundColour() const = 0;
    virtual void setBackgroundColour(const PreviewColour& colour) = 0;
    virtual void setDrawsBackground(bool draws) = 0;
};

} // namespace vt
