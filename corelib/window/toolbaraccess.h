#pragma once

// The second needs the first.
// clang-format off
#include <windows.h>
#include <oleacc.h>
// clang-format on

class NEWTOOLBAR;

// The system's interfaces have no destructor: objects go by Release alone.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// What a screen reader and other helpers learn of a tool bar that draws itself, and what they may do with it. Its
/// elements are the buttons by place, from 1, separators included. Counted references; once the bar is gone all
/// answers are failures. The bar's thread.
class TOOLBARACCESS final : public IAccessible {
 public:
    /// With one reference, its maker's.
    explicit TOOLBARACCESS(NEWTOOLBAR& bar) : Bar(&bar) {}
    TOOLBARACCESS(const TOOLBARACCESS&) = delete;
    TOOLBARACCESS& operator=(const TOOLBARACCESS&) = delete;

    /// The bar goes, and gives up its reference.
    void Leave();
    /// The answer to WM_GETOBJECT with that first parameter; 0 if there is none.
    LRESULT Answer(WPARAM flags);

    // IUnknown, IDispatch
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID language, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID language,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID id, LCID language, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* wrong) override;

    // IAccessible
    HRESULT STDMETHODCALLTYPE get_accParent(IDispatch** parent) override;
    HRESULT STDMETHODCALLTYPE get_accChildCount(LONG* count) override;
    HRESULT STDMETHODCALLTYPE get_accChild(VARIANT element, IDispatch** child) override;
    HRESULT STDMETHODCALLTYPE get_accName(VARIANT element, BSTR* name) override;
    HRESULT STDMETHODCALLTYPE get_accValue(VARIANT element, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_accDescription(VARIANT element, BSTR* description) override;
    HRESULT STDMETHODCALLTYPE get_accRole(VARIANT element, VARIANT* role) override;
    HRESULT STDMETHODCALLTYPE get_accState(VARIANT element, VARIANT* state) override;
    HRESULT STDMETHODCALLTYPE get_accHelp(VARIANT element, BSTR* help) override;
    HRESULT STDMETHODCALLTYPE get_accHelpTopic(BSTR* file, VARIANT element, LONG* topic) override;
    HRESULT STDMETHODCALLTYPE get_accKeyboardShortcut(VARIANT element, BSTR* shortcut) override;
    HRESULT STDMETHODCALLTYPE get_accFocus(VARIANT* element) override;
    HRESULT STDMETHODCALLTYPE get_accSelection(VARIANT* elements) override;
    HRESULT STDMETHODCALLTYPE get_accDefaultAction(VARIANT element, BSTR* action) override;
    HRESULT STDMETHODCALLTYPE accSelect(LONG flags, VARIANT element) override;
    HRESULT STDMETHODCALLTYPE accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT element) override;
    HRESULT STDMETHODCALLTYPE accNavigate(LONG direction, VARIANT start, VARIANT* end) override;
    HRESULT STDMETHODCALLTYPE accHitTest(LONG x, LONG y, VARIANT* element) override;
    HRESULT STDMETHODCALLTYPE accDoDefaultAction(VARIANT element) override;
    HRESULT STDMETHODCALLTYPE put_accName(VARIANT element, BSTR name) override;
    HRESULT STDMETHODCALLTYPE put_accValue(VARIANT element, BSTR value) override;

 private:
    ~TOOLBARACCESS() = default;
    /// The element's place among the buttons, -1 for the bar itself. S_OK, or the failure to return.
    HRESULT Find(const VARIANT& element, int& index) const;
    /// The same for a button; the bar itself and separators have none of what is asked for.
    HRESULT FindButton(const VARIANT& element, int& index) const;

    LONG References = 1;
    NEWTOOLBAR* Bar;
};

#pragma GCC diagnostic pop
