// What a file validator asks of the drive that it belongs to. Thread: any.
#pragma once

namespace vt {

class ValidatorOwner {
  public:
    virtual ~ValidatorOwner() = default;
    [[nodiscard]] virtual bool cancelPending() const = 0;
};

} // namespace vt
