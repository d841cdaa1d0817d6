#pragma once

#include <pthread.h>

namespace MERO::Systemd {

/// While it lives, this thread is not cancelled (pthread_cancel): what has to be taken back is taken back to the end,
/// and no destructor is left halfway, which would end the process.
class CancelBlock {
public:
    CancelBlock() : CancelBlock(PTHREAD_CANCEL_DISABLE) {}
    CancelBlock(const CancelBlock&) = delete;
    CancelBlock& operator=(const CancelBlock&) = delete;
    ~CancelBlock() { pthread_setcancelstate(before_, nullptr); }

    /// What `function` returns. In it the thread can be cancelled if it could be before.
    template <typename Function>
    auto LiftFor(Function&& function) const
    {
        const CancelBlock lifted(before_);
        return function();
    }

private:
    explicit CancelBlock(int state) { pthread_setcancelstate(state, &before_); }

    int before_;
};

} // namespace MERO::Systemd
