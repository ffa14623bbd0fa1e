#pragma once

#include <ScenarioTemplateDb/Exception.h>

#include <gtest/gtest.h>

#include <functional>

/// The Exception that `call` throws by value; a test failure if it throws none.
inline ScenarioTemplateDb::Exception thrown(const std::function<void()>& call) {
    try {
        call();
    } catch (const ScenarioTemplateDb::Exception& e) {
        return e;
    }
    ADD_FAILURE() << "no Exception thrown";
    return ScenarioTemplateDb::Exception("", 0);
}
