#include "document/callback_guard.h"

#include <csetjmp>
#include <csignal>
#include <cstring>
#include <mutex>

namespace {

constexpr int kGuardedSignals[] = {SIGSEGV, SIGBUS, SIGFPE};
constexpr int kSignalCount = sizeof(kGuardedSignals) / sizeof(kGuardedSignals[0]);

struct sigaction previousActions[kSignalCount];

// Initial-exec TLS: the signal handler must reach it without calling into the
// dynamic loader, which is not safe inside a handler.
struct GuardState {
    sigjmp_buf* landing;
};
__attribute__((tls_model("initial-exec"))) thread_local GuardState guardState{nullptr};

void ChainToPrevious(int signal, siginfo_t* info, void* context)
{
    for (int i = 0; i < kSignalCount; ++i) {
        if (kGuardedSignals[i] != signal)
            continue;
        const struct sigaction& previous = previousActions[i];
        if (previous.sa_flags & SA_SIGINFO) {
            previous.sa_sigaction(signal, info, context);
            return;
        }
        if (previous.sa_handler == SIG_IGN)
            return;
        if (previous.sa_handler == SIG_DFL) {
            // Returning re-executes the faulting instruction, which now meets
            // the default action and ends the process as it would have.
            ::signal(signal, SIG_DFL);
            return;
        }
        previous.sa_handler(signal);
        return;
    }
}

void OnFault(int signal, siginfo_t* info, void* context)
{
    if (sigjmp_buf* landing = guardState.landing) {
        guardState.landing = nullptr;
        siglongjmp(*landing, signal);
    }
    ChainToPrevious(signal, info, context);
}

void InstallHandlersOnce()
{
    static std::once_flag installed;
    std::call_once(installed, [] {
        struct sigaction action;
        std::memset(&action, 0, sizeof action);
        action.sa_sigaction = OnFault;
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        for (int i = 0; i < kSignalCount; ++i)
            sigaction(kGuardedSignals[i], &action, &previousActions[i]);
    });
}

// Kept out of line so that nothing the callback touched lives in registers of
// the frame that sigsetjmp returns to.
__attribute__((noinline)) int32_t RunGuarded(GuardedCall call, void* context)
{
    sigjmp_buf landing;
    sigjmp_buf* const outer = guardState.landing;
    if (sigsetjmp(landing, 1) != 0) {
        guardState.landing = outer;
        return ERROR_CALLBACK_FAULT;
    }
    guardState.landing = &landing;
    int32_t status;
    try {
        status = call(context);
    } catch (...) {
        status = ERROR_CALLBACK_FAULT;
    }
    guardState.landing = outer;
    return status;
}

struct ElementCall {
    SvgHandle element;
    SvgElementCallback callback;
    void* userData;
};

int32_t CallElement(void* context)
{
    const ElementCall& call = *static_cast<const ElementCall*>(context);
    return call.callback(call.element, call.userData);
}

}  // namespace

int32_t CallGuarded(GuardedCall call, void* context)
{
    if (!call)
        return ERROR_INV_PARAMETER;
    InstallHandlersOnce();
    return RunGuarded(call, context);
}

int32_t CallElementCallback(SvgHandle element, SvgElementCallback callback, void* userData)
{
    if (!callback)
        return ERROR_INV_PARAMETER;
    ElementCall call{element, callback, userData};
    return CallGuarded(CallElement, &call);
}
