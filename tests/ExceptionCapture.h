#pragma once

// Helpers shared by the tests of the node tree, ids and variadic parameters:
// the library throws Exception in two forms, and each site's form is checked.
#include <ScenarioTemplateDb/Exception.h>
#include <environment/SheetSection/Section.h>

#include <gtest/gtest.h>

#include <memory>

namespace testing_support {

/// Runs `body`, expects an Exception* (which it deletes) and returns a copy.
template <class Body> ScenarioTemplateDb::Exception catchPointer(Body body) {
    try {
        body();
    } catch (ScenarioTemplateDb::Exception* e) {
        std::unique_ptr<ScenarioTemplateDb::Exception> owned(e);
        return *owned;
    } catch (const ScenarioTemplateDb::Exception& e) {
        ADD_FAILURE() << "thrown by value: " << e.message;
        return e;
    }
    ADD_FAILURE() << "nothing thrown";
    return ScenarioTemplateDb::Exception("", 0);
}

/// Runs `body`, expects an Exception by value and returns it.
template <class Body> ScenarioTemplateDb::Exception catchValue(Body body) {
    try {
        body();
    } catch (const ScenarioTemplateDb::Exception& e) {
        return e;
    } catch (ScenarioTemplateDb::Exception* e) {
        std::unique_ptr<ScenarioTemplateDb::Exception> owned(e);
        ADD_FAILURE() << "thrown as a pointer: " << owned->message;
        return *owned;
    }
    ADD_FAILURE() << "nothing thrown";
    return ScenarioTemplateDb::Exception("", 0);
}

/// A new sub-section of the class T under `parent`.
template <typename T> T* add(cfg::Section* parent) {
    return dynamic_cast<T*>(parent->createSubSection(T::sectionName()));
}

} // namespace testing_support
