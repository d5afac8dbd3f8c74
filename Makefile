# A thin front over the CMake presets and scripts/. Each task installs what it lacks from Debian's
# packages when run as root, and says what is missing otherwise.
.DEFAULT_GOAL := help
.PHONY: run test windows rehearse bench dist format clean help

run: ## the real window under Wine on a demo stick; without a display a robot user works it
	@scripts/run.sh

test: ## everything: unit tests, sanitizers, the executables, whole runs under Wine, boots
	@scripts/test.sh

windows: ## the executables, to build/win64 and build/win32
	@scripts/setup.sh windows
	@cmake --preset win64 && cmake --build --preset win64
	@cmake --preset win32 && cmake --build --preset win32

rehearse: ## the program on a PC in memory, in the terminal
	@scripts/setup.sh native
	@cmake --preset native >/dev/null && cmake --build --preset native --target rehearse >/dev/null
	@"$$(find build/native -name rehearse -type f -perm -u+x)"

bench: ## timings of the logic
	@scripts/setup.sh native
	@cmake --preset native -B build/bench -DROTATE_BENCH=ON -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build build/bench --target rotate_bench >/dev/null
	@"$$(find build/bench -name rotate_bench -type f)"

dist: windows ## the zips, to dist/
	@python3 scripts/dist.py

format: ## clang-format over everything of ours
	@scripts/setup.sh tidy
	@git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format -i

clean: ## removes build/ and dist/
	@rm -rf build dist

help: ## this list
	@sed -n 's/^\([a-z]*\):.*## \(.*\)/  make \1\t\2/p' $(MAKEFILE_LIST) | expand -t 18
