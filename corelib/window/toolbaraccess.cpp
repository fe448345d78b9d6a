#include "corelib/window/toolbaraccess.h"

#include <string>

#include "corelib/window/toolbar.h"

namespace {

// A function of a library that only those need who ask for these objects.
template <class FUNCTION>
FUNCTION Find(const wchar_t* library, const char* name) {
    const HMODULE module = LoadLibraryW(library);
    return module ? reinterpret_cast<FUNCTION>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}

HRESULT Give(const std::wstring& text, BSTR* result) {
    *result = nullptr;
    if (text.empty())
        return S_FALSE;
    static const auto make = Find<BSTR(STDAPICALLTYPE*)(const OLECHAR*)>(L"oleaut32.dll", "SysAllocString");
    *result = make ? make(text.c_str()) : nullptr;
    return *result ? S_OK : E_OUTOFMEMORY;
}

HRESULT Give(LONG number, VARIANT* result) {
    result->vt = VT_I4;
    result->lVal = number;
    return S_OK;
}

HRESULT GiveNothing(VARIANT* result) {
    result->vt = VT_EMPTY;
    return S_FALSE;
}

bool IsSeparator(const NEWTOOLBAR::DESCRIPTION& button) {
    return button.Style & TBSTYLE_SEP;
}

LONG RoleOf(const NEWTOOLBAR::DESCRIPTION& button) {
    if (IsSeparator(button))
        return ROLE_SYSTEM_SEPARATOR;
    if (!(button.Style & TBSTYLE_CHECK))
        return ROLE_SYSTEM_PUSHBUTTON;
    return button.Style & TBSTYLE_GROUP ? ROLE_SYSTEM_RADIOBUTTON : ROLE_SYSTEM_CHECKBUTTON;
}

LONG StateOf(const NEWTOOLBAR::DESCRIPTION& button) {
    if (IsSeparator(button))
        return STATE_SYSTEM_READONLY;
    LONG state = button.State & TBSTATE_ENABLED ? STATE_SYSTEM_FOCUSABLE : STATE_SYSTEM_UNAVAILABLE;
    if (button.State & TBSTATE_CHECKED)
        state |= STATE_SYSTEM_CHECKED;
    if (button.Focused)
        state |= STATE_SYSTEM_FOCUSED;
    if (button.Hot)
        state |= STATE_SYSTEM_HOTTRACKED;
    if (button.Pressed)
        state |= STATE_SYSTEM_PRESSED;
    return state;
}

}  // namespace

void TOOLBARACCESS::Leave() {
    Bar = nullptr;
    Release();
}

LRESULT TOOLBARACCESS::Answer(WPARAM flags) {
    static const auto make =
        ::Find<LRESULT(STDAPICALLTYPE*)(REFIID, WPARAM, IUnknown*)>(L"oleacc.dll", "LresultFromObject");
    // Without it no other process gets the object. It stays for as long as the thread.
    static const auto begin = ::Find<HRESULT(STDAPICALLTYPE*)(void*)>(L"ole32.dll", "CoInitialize");
    static const HRESULT begun = begin ? begin(nullptr) : E_FAIL;
    static_cast<void>(begun);
    return make ? make(__uuidof(IAccessible), flags, this) : 0;
}

HRESULT TOOLBARACCESS::Find(const VARIANT& element, int& index) const {
    if (!Bar || !Bar->hWnd)
        return CO_E_OBJNOTCONNECTED;
    if (element.vt != VT_I4 || element.lVal < CHILDID_SELF || element.lVal > Bar->Count())
        return E_INVALIDARG;
    index = element.lVal - 1;
    return S_OK;
}

HRESULT TOOLBARACCESS::FindButton(const VARIANT& element, int& index) const {
    const HRESULT result = Find(element, index);
    if (result != S_OK)
        return result;
    return index == -1 || IsSeparator(Bar->Describe(index)) ? DISP_E_MEMBERNOTFOUND : S_OK;
}

HRESULT TOOLBARACCESS::QueryInterface(REFIID id, void** object) {
    const bool known = id == __uuidof(IUnknown) || id == __uuidof(IDispatch) || id == __uuidof(IAccessible);
    *object = known ? static_cast<IAccessible*>(this) : nullptr;
    if (!known)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG TOOLBARACCESS::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&References));
}

ULONG TOOLBARACCESS::Release() {
    const LONG left = InterlockedDecrement(&References);
    if (left == 0)
        delete this;
    return static_cast<ULONG>(left);
}

HRESULT TOOLBARACCESS::GetTypeInfoCount(UINT* count) {
    *count = 0;
    return S_OK;
}

HRESULT TOOLBARACCESS::GetTypeInfo(UINT /*index*/, LCID /*language*/, ITypeInfo** info) {
    *info = nullptr;
    return E_NOTIMPL;
}

HRESULT TOOLBARACCESS::GetIDsOfNames(REFIID /*id*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*language*/,
                                     DISPID* /*ids*/) {
    return E_NOTIMPL;
}

HRESULT TOOLBARACCESS::Invoke(DISPID /*member*/, REFIID /*id*/, LCID /*language*/, WORD /*flags*/,
                              DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*exception*/,
                              UINT* /*wrong*/) {
    return E_NOTIMPL;
}

// The window around the bar's client area, which the system describes.
HRESULT TOOLBARACCESS::get_accParent(IDispatch** parent) {
    *parent = nullptr;
    if (!Bar || !Bar->hWnd)
        return CO_E_OBJNOTCONNECTED;
    static const auto object =
        ::Find<HRESULT(STDAPICALLTYPE*)(HWND, DWORD, REFIID, void**)>(L"oleacc.dll", "AccessibleObjectFromWindow");
    return object ? object(Bar->hWnd, static_cast<DWORD>(OBJID_WINDOW), __uuidof(IDispatch),
                           reinterpret_cast<void**>(parent))
                  : S_FALSE;
}

HRESULT TOOLBARACCESS::get_accChildCount(LONG* count) {
    *count = Bar ? Bar->Count() : 0;
    return Bar ? S_OK : CO_E_OBJNOTCONNECTED;
}

HRESULT TOOLBARACCESS::get_accChild(VARIANT element, IDispatch** child) {
    *child = nullptr;
    int index;
    const HRESULT result = Find(element, index);
    return result == S_OK ? S_FALSE : result;  // buttons are no objects of their own
}

HRESULT TOOLBARACCESS::get_accName(VARIANT element, BSTR* name) {
    *name = nullptr;
    int index;
    const HRESULT result = Find(element, index);
    if (result != S_OK)
        return result;
    if (index == -1)
        return Give(IsGermanResourceModule() ? L"Symbolleiste" : L"Tool bar", name);
    return Give(Bar->Describe(index).Name, name);
}

HRESULT TOOLBARACCESS::get_accValue(VARIANT /*element*/, BSTR* value) {
    *value = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::get_accDescription(VARIANT element, BSTR* description) {
    *description = nullptr;
    int index;
    const HRESULT result = FindButton(element, index);
    return result == S_OK ? Give(Bar->Describe(index).Tip, description) : result;
}

HRESULT TOOLBARACCESS::get_accRole(VARIANT element, VARIANT* role) {
    role->vt = VT_EMPTY;
    int index;
    const HRESULT result = Find(element, index);
    return result == S_OK ? Give(index == -1 ? ROLE_SYSTEM_TOOLBAR : RoleOf(Bar->Describe(index)), role) : result;
}

HRESULT TOOLBARACCESS::get_accState(VARIANT element, VARIANT* state) {
    state->vt = VT_EMPTY;
    int index;
    const HRESULT result = Find(element, index);
    if (result != S_OK)
        return result;
    LONG flags = index == -1 ? STATE_SYSTEM_FOCUSABLE : StateOf(Bar->Describe(index));
    if (!Bar->IsVisible())
        flags |= STATE_SYSTEM_INVISIBLE;
    return Give(flags, state);
}

HRESULT TOOLBARACCESS::get_accHelp(VARIANT /*element*/, BSTR* help) {
    *help = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::get_accHelpTopic(BSTR* file, VARIANT /*element*/, LONG* topic) {
    *file = nullptr;
    *topic = 0;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::get_accKeyboardShortcut(VARIANT /*element*/, BSTR* shortcut) {
    *shortcut = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::get_accFocus(VARIANT* element) {
    element->vt = VT_EMPTY;
    if (!Bar || !Bar->hWnd)
        return CO_E_OBJNOTCONNECTED;
    for (int i = 0; i < Bar->Count(); ++i)
        if (Bar->Describe(i).Focused)
            return Give(i + 1, element);
    return GiveNothing(element);
}

HRESULT TOOLBARACCESS::get_accSelection(VARIANT* elements) {
    elements->vt = VT_EMPTY;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::get_accDefaultAction(VARIANT element, BSTR* action) {
    *action = nullptr;
    int index;
    const HRESULT result = FindButton(element, index);
    return result == S_OK ? Give(IsGermanResourceModule() ? L"Dr\u00fccken" : L"Press", action) : result;
}

HRESULT TOOLBARACCESS::accSelect(LONG flags, VARIANT element) {
    int index;
    const HRESULT result = FindButton(element, index);
    if (result != S_OK)
        return result;
    return flags == SELFLAG_TAKEFOCUS && Bar->TakeFocus(index) ? S_OK : E_INVALIDARG;
}

HRESULT TOOLBARACCESS::accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT element) {
    *left = *top = *width = *height = 0;
    int index;
    const HRESULT result = Find(element, index);
    if (result != S_OK)
        return result;
    RECT place = index == -1 ? Bar->ClientRect() : Bar->Describe(index).Place;
    MapWindowPoints(Bar->hWnd, nullptr, reinterpret_cast<POINT*>(&place), 2);
    *left = place.left;
    *top = place.top;
    *width = place.right - place.left;
    *height = place.bottom - place.top;
    return S_OK;
}

HRESULT TOOLBARACCESS::accNavigate(LONG /*direction*/, VARIANT /*start*/, VARIANT* end) {
    end->vt = VT_EMPTY;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::accHitTest(LONG x, LONG y, VARIANT* element) {
    element->vt = VT_EMPTY;
    if (!Bar || !Bar->hWnd)
        return CO_E_OBJNOTCONNECTED;
    POINT point = {x, y};
    ScreenToClient(Bar->hWnd, &point);
    const RECT client = Bar->ClientRect();
    if (!PtInRect(&client, point))
        return GiveNothing(element);
    for (int i = 0; i < Bar->Count(); ++i) {
        const RECT place = Bar->Describe(i).Place;
        if (PtInRect(&place, point))
            return Give(i + 1, element);
    }
    return Give(CHILDID_SELF, element);
}

HRESULT TOOLBARACCESS::accDoDefaultAction(VARIANT element) {
    int index;
    const HRESULT result = FindButton(element, index);
    if (result != S_OK)
        return result;
    return Bar->PressLater(index) ? S_OK : DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::put_accName(VARIANT /*element*/, BSTR /*name*/) {
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT TOOLBARACCESS::put_accValue(VARIANT /*element*/, BSTR /*value*/) {
    return DISP_E_MEMBERNOTFOUND;
}
