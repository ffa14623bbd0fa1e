# Finds what the Python module needs, for the option TAVREL_BUILD_PYTHON:
# Debian's interpreter (/usr/bin/python3, whatever python3 comes first on PATH,
# since pybind11 and pytest come from Debian's packages) with its headers, and
# pybind11. Sets TAVREL_PYTHON_FOUND.
#
# Not under the sanitizers: an interpreter built without them doesn't load a
# module that needs their runtime.
set(TAVREL_PYTHON_FOUND OFF)
if(TAVREL_BUILD_TOOLS AND NOT TAVREL_SANITIZE)
  if(EXISTS /usr/bin/python3 AND NOT Python_EXECUTABLE)
    set(Python_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "The Python interpreter the tavrel module is built for")
  endif()
  find_package(Python 3 QUIET COMPONENTS Interpreter Development)
  if(Python_FOUND)
    # Python found first makes pybind11 take the same interpreter.
    find_package(pybind11 CONFIG QUIET)
    if(pybind11_FOUND)
      set(TAVREL_PYTHON_FOUND ON)
    endif()
  endif()
endif()
