#pragma once

// The second needs the first.
// clang-format off
#include <windows.h>
#include <oleacc.h>
// clang-format on

#include "corelib/window/widetext.h"
#include "tests/support/windowtest.h"

/// A window's drawn elements as a screen reader gets them: from the system, by the window. 0 is the window itself.
class ACCESSIBLE {
 public:
    explicit ACCESSIBLE(HWND window) {
        CoInitialize(nullptr);
        EXPECT_EQ(AccessibleObjectFromWindow(window, static_cast<DWORD>(OBJID_CLIENT), __uuidof(IAccessible),
                                             reinterpret_cast<void**>(&Object)),
                  S_OK);
    }
    ~ACCESSIBLE() {
        if (Object)
            Object->Release();
        CoUninitialize();
    }
    ACCESSIBLE(const ACCESSIBLE&) = delete;
    ACCESSIBLE& operator=(const ACCESSIBLE&) = delete;
    IAccessible* operator->() const { return Object; }

    static VARIANT Element(LONG number) {
        VARIANT element{};
        element.vt = VT_I4;
        element.lVal = number;
        return element;
    }
    /// "-" if there is none.
    std::string Text(HRESULT (STDMETHODCALLTYPE IAccessible::*get)(VARIANT, BSTR*), LONG number) const {
        BSTR text = nullptr;
        if ((Object->*get)(Element(number), &text) != S_OK)
            return "-";
        const std::string result = Std(FromWide(text));
        SysFreeString(text);
        return result;
    }
    /// -1 if there is none.
    LONG Number(HRESULT (STDMETHODCALLTYPE IAccessible::*get)(VARIANT, VARIANT*), LONG number) const {
        VARIANT result{};
        return (Object->*get)(Element(number), &result) == S_OK ? result.lVal : -1;
    }
    LONG Count() const {
        LONG count = -1;
        return Object->get_accChildCount(&count) == S_OK ? count : -1;
    }

 private:
    IAccessible* Object = nullptr;
};
