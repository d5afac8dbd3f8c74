# The rehearsal with a compiler and make alone: no CMake, no test library.
CXX ?= g++
OUT := build/rehearse
SOURCES := $(filter-out src/platform/win32/% src/app/%,$(wildcard src/*/*.cpp src/platform/virtual/*.cpp)) \
           src/app/rehearse.cpp
OBJECTS := $(SOURCES:%.cpp=$(OUT)/%.o)

$(OUT)/rehearse: $(OBJECTS)
	@$(CXX) -o $@ $^

$(OUT)/%.o: %.cpp
	@mkdir -p $(@D)
	@$(CXX) -std=c++20 -O1 -Isrc -MMD -c -o $@ $<

-include $(OBJECTS:.o=.d)
