#pragma once

// The library throws Exception in two forms, by value and as a pointer the
// caller deletes; each failure site's form is part of its contract, so the
// tests check it along with the text and code.
#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetSection/Section.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace testing_support {

using ScenarioTemplateDb::Exception;

/// What running a body threw: `form` is "value", "pointer" or "nothing".
struct Caught {
    std::string form;
    Exception exception;
};

/// Runs `body` and returns what it threw, deleting a thrown pointer.
template <class Body> Caught capture(Body body) {
    try {
        body();
    } catch (Exception* e) {
        std::unique_ptr<Exception> owned(e);
        return Caught{"pointer", *owned};
    } catch (const Exception& e) {
        return Caught{"value", e};
    }
    return Caught{"nothing", Exception("", 0)};
}

/// Runs `body`, expects an Exception in `form` and returns it (a test failure otherwise).
template <class Body> Exception caught(const std::string& form, Body body) {
    Caught c = capture(body);
    if (c.form != form)
        ADD_FAILURE() << "expected an Exception " << (form == "value" ? "by value" : "as a pointer")
                      << ", got " << c.form << ": " << c.exception.message;
    return c.exception;
}
template <class Body> Exception catchPointer(Body body) {
    return caught("pointer", body);
}
template <class Body> Exception catchValue(Body body) {
    return caught("value", body);
}

/// Success when `body` throws an Exception in `form` with exactly `message` and `code`.
template <class Body>
::testing::AssertionResult throws(const std::string& form, Body body, const std::string& message, int code) {
    Caught c = capture(body);
    if (c.form == form && c.exception.message == message && c.exception.code == code)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "expected " << form << " \"" << message << "\" (code " << code << "), got " << c.form << " \""
           << c.exception.message << "\" (code " << c.exception.code << ")";
}
template <class Body>
::testing::AssertionResult throwsPointer(Body body, const std::string& message, int code) {
    return throws("pointer", body, message, code);
}
template <class Body>::testing::AssertionResult throwsValue(Body body, const std::string& message, int code) {
    return throws("value", body, message, code);
}

/// A new sub-section of the class T under `parent`.
template <typename T> T* add(cfg::Section* parent) {
    return dynamic_cast<T*>(parent->createSubSection(T::sectionName()));
}

} // namespace testing_support
