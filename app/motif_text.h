// Text in and out of Motif widgets: compound strings that free themselves,
// and the plain text of a compound string or a text field.
//
// A widget copies a compound string given to it as a resource, so a
// CompoundString only has to live until the call that sets it returns:
// a temporary in the argument list is enough.
#pragma once

#include <Xm/TextF.h>
#include <Xm/Xm.h>

#include <string>

namespace quivel {

class CompoundString {
public:
    explicit CompoundString(const char *text) : string_(XmStringCreateLocalized(const_cast<char *>(text))) {}
    explicit CompoundString(const std::string &text) : CompoundString(text.c_str()) {}
    ~CompoundString() { XmStringFree(string_); }
    CompoundString(const CompoundString &) = delete;
    CompoundString &operator=(const CompoundString &) = delete;
    operator XmString() const { return string_; }

private:
    XmString string_;
};

// The text of a compound string; "" when it has none.
inline std::string plainText(XmString string) {
    char *text = nullptr;
    if (!XmStringGetLtoR(string, const_cast<char *>(XmFONTLIST_DEFAULT_TAG), &text) || text == nullptr) return "";
    std::string out(text);
    XtFree(text);
    return out;
}

// What a text field holds.
inline std::string textFieldValue(Widget field) {
    char *text = XmTextFieldGetString(field);
    std::string out(text ? text : "");
    XtFree(text);
    return out;
}

}  // namespace quivel
