#include "corelib/window/drawnaccess.h"

#include <string>

#include "corelib/window/latefunction.h"
#include "corelib/window/window.h"

namespace {

HRESULT Give(const std::wstring& text, BSTR* result) {
    *result = nullptr;
    if (text.empty())
        return S_FALSE;
    static auto* const make = LateFunction<decltype(SysAllocString)>(L"oleaut32.dll", "SysAllocString");
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

bool IsButton(const DRAWNELEMENTS::ELEMENT& element) {
    return element.Role == ROLE_SYSTEM_PUSHBUTTON || element.Role == ROLE_SYSTEM_CHECKBUTTON ||
           element.Role == ROLE_SYSTEM_RADIOBUTTON;
}

}  // namespace

// The system's interfaces have no destructor: objects go by Release alone.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class DRAWNOBJECT final : public IAccessible {
 public:
    DRAWNOBJECT(HWND window, DRAWNELEMENTS& elements) : Window(window), Elements(&elements) {}
    DRAWNOBJECT(const DRAWNOBJECT&) = delete;
    DRAWNOBJECT& operator=(const DRAWNOBJECT&) = delete;

    /// The window goes, and gives up its reference.
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
    HRESULT STDMETHODCALLTYPE get_accChild(VARIANT number, IDispatch** child) override;
    HRESULT STDMETHODCALLTYPE get_accName(VARIANT number, BSTR* name) override;
    HRESULT STDMETHODCALLTYPE get_accValue(VARIANT number, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE get_accDescription(VARIANT number, BSTR* description) override;
    HRESULT STDMETHODCALLTYPE get_accRole(VARIANT number, VARIANT* role) override;
    HRESULT STDMETHODCALLTYPE get_accState(VARIANT number, VARIANT* state) override;
    HRESULT STDMETHODCALLTYPE get_accHelp(VARIANT number, BSTR* help) override;
    HRESULT STDMETHODCALLTYPE get_accHelpTopic(BSTR* file, VARIANT number, LONG* topic) override;
    HRESULT STDMETHODCALLTYPE get_accKeyboardShortcut(VARIANT number, BSTR* shortcut) override;
    HRESULT STDMETHODCALLTYPE get_accFocus(VARIANT* number) override;
    HRESULT STDMETHODCALLTYPE get_accSelection(VARIANT* elements) override;
    HRESULT STDMETHODCALLTYPE get_accDefaultAction(VARIANT number, BSTR* action) override;
    HRESULT STDMETHODCALLTYPE accSelect(LONG flags, VARIANT number) override;
    HRESULT STDMETHODCALLTYPE accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT number) override;
    HRESULT STDMETHODCALLTYPE accNavigate(LONG direction, VARIANT start, VARIANT* end) override;
    HRESULT STDMETHODCALLTYPE accHitTest(LONG x, LONG y, VARIANT* number) override;
    HRESULT STDMETHODCALLTYPE accDoDefaultAction(VARIANT number) override;
    HRESULT STDMETHODCALLTYPE put_accName(VARIANT number, BSTR name) override;
    HRESULT STDMETHODCALLTYPE put_accValue(VARIANT number, BSTR value) override;

 private:
    ~DRAWNOBJECT() = default;
    bool IsGone() const { return !Elements || !IsWindow(Window); }
    /// The element, the window itself for 0. S_OK, or the failure to return.
    HRESULT Find(const VARIANT& number, DRAWNELEMENTS::ELEMENT& element) const;
    /// One thing of the element.
    HRESULT Tell(const VARIANT& number, std::wstring DRAWNELEMENTS::ELEMENT::* what, BSTR* text) const;
    HRESULT Tell(const VARIANT& number, LONG DRAWNELEMENTS::ELEMENT::* what, VARIANT* value) const;
    /// As Find, for a button; others have none of what is asked for.
    HRESULT FindButton(const VARIANT& number, DRAWNELEMENTS::ELEMENT& element) const;

    LONG References = 1;
    const HWND Window;
    DRAWNELEMENTS* Elements;
};

#pragma GCC diagnostic pop

void DRAWNOBJECT::Leave() {
    Elements = nullptr;
    Release();
}

LRESULT DRAWNOBJECT::Answer(WPARAM flags) {
    static auto* const make = LateFunction<decltype(LresultFromObject)>(L"oleacc.dll", "LresultFromObject");
    // Without it no other process gets the object. It stays for as long as the thread.
    static auto* const begin = LateFunction<decltype(CoInitialize)>(L"ole32.dll", "CoInitialize");
    static const HRESULT begun = begin ? begin(nullptr) : E_FAIL;
    static_cast<void>(begun);
    return make ? make(__uuidof(IAccessible), flags, this) : 0;
}

HRESULT DRAWNOBJECT::Find(const VARIANT& number, DRAWNELEMENTS::ELEMENT& element) const {
    if (IsGone())
        return CO_E_OBJNOTCONNECTED;
    if (number.vt != VT_I4 || number.lVal < CHILDID_SELF || number.lVal > Elements->Count())
        return E_INVALIDARG;
    if (number.lVal != CHILDID_SELF) {
        element = Elements->Element(number.lVal - 1);
    } else {
        element = Elements->Whole();
        GetClientRect(Window, &element.Place);
    }
    if (!IsWindowVisible(Window))
        element.State |= STATE_SYSTEM_INVISIBLE;
    return S_OK;
}

HRESULT DRAWNOBJECT::FindButton(const VARIANT& number, DRAWNELEMENTS::ELEMENT& element) const {
    const HRESULT result = Find(number, element);
    return result == S_OK && !IsButton(element) ? DISP_E_MEMBERNOTFOUND : result;
}

HRESULT DRAWNOBJECT::QueryInterface(REFIID id, void** object) {
    const bool known = id == __uuidof(IUnknown) || id == __uuidof(IDispatch) || id == __uuidof(IAccessible);
    *object = known ? static_cast<IAccessible*>(this) : nullptr;
    if (!known)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG DRAWNOBJECT::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&References));
}

ULONG DRAWNOBJECT::Release() {
    const LONG left = InterlockedDecrement(&References);
    if (left == 0)
        delete this;
    return static_cast<ULONG>(left);
}

HRESULT DRAWNOBJECT::GetTypeInfoCount(UINT* count) {
    *count = 0;
    return S_OK;
}

HRESULT DRAWNOBJECT::GetTypeInfo(UINT /*index*/, LCID /*language*/, ITypeInfo** info) {
    *info = nullptr;
    return E_NOTIMPL;
}

HRESULT DRAWNOBJECT::GetIDsOfNames(REFIID /*id*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*language*/,
                                   DISPID* /*ids*/) {
    return E_NOTIMPL;
}

HRESULT DRAWNOBJECT::Invoke(DISPID /*member*/, REFIID /*id*/, LCID /*language*/, WORD /*flags*/,
                            DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*exception*/,
                            UINT* /*wrong*/) {
    return E_NOTIMPL;
}

// The frame around the client area, which the system describes.
HRESULT DRAWNOBJECT::get_accParent(IDispatch** parent) {
    *parent = nullptr;
    if (IsGone())
        return CO_E_OBJNOTCONNECTED;
    static auto* const object =
        LateFunction<decltype(AccessibleObjectFromWindow)>(L"oleacc.dll", "AccessibleObjectFromWindow");
    return object
               ? object(Window, static_cast<DWORD>(OBJID_WINDOW), __uuidof(IDispatch), reinterpret_cast<void**>(parent))
               : S_FALSE;
}

HRESULT DRAWNOBJECT::get_accChildCount(LONG* count) {
    *count = IsGone() ? 0 : Elements->Count();
    return IsGone() ? CO_E_OBJNOTCONNECTED : S_OK;
}

HRESULT DRAWNOBJECT::get_accChild(VARIANT number, IDispatch** child) {
    *child = nullptr;
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = Find(number, element);
    return result == S_OK ? S_FALSE : result;  // elements are no objects of their own
}

HRESULT DRAWNOBJECT::Tell(const VARIANT& number, std::wstring DRAWNELEMENTS::ELEMENT::* what, BSTR* text) const {
    *text = nullptr;
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = Find(number, element);
    return result == S_OK ? Give(element.*what, text) : result;
}

HRESULT DRAWNOBJECT::Tell(const VARIANT& number, LONG DRAWNELEMENTS::ELEMENT::* what, VARIANT* value) const {
    value->vt = VT_EMPTY;
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = Find(number, element);
    return result == S_OK ? Give(element.*what, value) : result;
}

HRESULT DRAWNOBJECT::get_accName(VARIANT number, BSTR* name) {
    return Tell(number, &DRAWNELEMENTS::ELEMENT::Name, name);
}

HRESULT DRAWNOBJECT::get_accValue(VARIANT /*number*/, BSTR* value) {
    *value = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::get_accDescription(VARIANT number, BSTR* description) {
    return Tell(number, &DRAWNELEMENTS::ELEMENT::Description, description);
}

HRESULT DRAWNOBJECT::get_accRole(VARIANT number, VARIANT* role) {
    return Tell(number, &DRAWNELEMENTS::ELEMENT::Role, role);
}

HRESULT DRAWNOBJECT::get_accState(VARIANT number, VARIANT* state) {
    return Tell(number, &DRAWNELEMENTS::ELEMENT::State, state);
}

HRESULT DRAWNOBJECT::get_accHelp(VARIANT /*number*/, BSTR* help) {
    *help = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::get_accHelpTopic(BSTR* file, VARIANT /*number*/, LONG* topic) {
    *file = nullptr;
    *topic = 0;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::get_accKeyboardShortcut(VARIANT /*number*/, BSTR* shortcut) {
    *shortcut = nullptr;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::get_accFocus(VARIANT* number) {
    number->vt = VT_EMPTY;
    if (IsGone())
        return CO_E_OBJNOTCONNECTED;
    for (int i = 0; i < Elements->Count(); ++i)
        if (Elements->Element(i).State & STATE_SYSTEM_FOCUSED)
            return Give(i + 1, number);
    return GiveNothing(number);
}

HRESULT DRAWNOBJECT::get_accSelection(VARIANT* elements) {
    elements->vt = VT_EMPTY;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::get_accDefaultAction(VARIANT number, BSTR* action) {
    *action = nullptr;
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = FindButton(number, element);
    return result == S_OK ? Give(IsGermanResourceModule() ? L"Dr\u00fccken" : L"Press", action) : result;
}

HRESULT DRAWNOBJECT::accSelect(LONG flags, VARIANT number) {
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = FindButton(number, element);
    if (result != S_OK)
        return result;
    return flags == SELFLAG_TAKEFOCUS && Elements->TakeFocus(number.lVal - 1) ? S_OK : E_INVALIDARG;
}

HRESULT DRAWNOBJECT::accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT number) {
    *left = *top = *width = *height = 0;
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = Find(number, element);
    if (result != S_OK)
        return result;
    RECT& place = element.Place;
    MapWindowPoints(Window, nullptr, reinterpret_cast<POINT*>(&place), 2);
    *left = place.left;
    *top = place.top;
    *width = place.right - place.left;
    *height = place.bottom - place.top;
    return S_OK;
}

HRESULT DRAWNOBJECT::accNavigate(LONG /*direction*/, VARIANT /*start*/, VARIANT* end) {
    end->vt = VT_EMPTY;
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::accHitTest(LONG x, LONG y, VARIANT* number) {
    number->vt = VT_EMPTY;
    if (IsGone())
        return CO_E_OBJNOTCONNECTED;
    POINT point = {x, y};
    ScreenToClient(Window, &point);
    RECT client{};
    GetClientRect(Window, &client);
    if (!PtInRect(&client, point))
        return GiveNothing(number);
    for (int i = 0; i < Elements->Count(); ++i) {
        const RECT place = Elements->Element(i).Place;
        if (PtInRect(&place, point))
            return Give(i + 1, number);
    }
    return Give(CHILDID_SELF, number);
}

HRESULT DRAWNOBJECT::accDoDefaultAction(VARIANT number) {
    DRAWNELEMENTS::ELEMENT element;
    const HRESULT result = FindButton(number, element);
    if (result != S_OK)
        return result;
    return Elements->PressLater(number.lVal - 1) ? S_OK : DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::put_accName(VARIANT /*number*/, BSTR /*name*/) {
    return DISP_E_MEMBERNOTFOUND;
}

HRESULT DRAWNOBJECT::put_accValue(VARIANT /*number*/, BSTR /*value*/) {
    return DISP_E_MEMBERNOTFOUND;
}

DRAWNACCESS::~DRAWNACCESS() {
    if (Object)
        Object->Leave();
}

bool DRAWNACCESS::Answer(HWND window, WPARAM first, LPARAM second, LRESULT& result) {
    if (static_cast<LONG>(second) != OBJID_CLIENT)
        return false;
    if (!Object)
        Object = new DRAWNOBJECT(window, Elements);
    result = Object->Answer(first);
    return true;
}
