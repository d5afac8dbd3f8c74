# A thin wrapper around the CMake presets and scripts/. As root each target installs the Debian packages
# that it lacks; otherwise it lists them.
.DEFAULT_GOAL := help
.PHONY: run test unit windows rehearse bench pictures fuzz dist tidy format clean help

run: ## the real window under Wine on a demo stick; without a display a robot user operates it
	@scripts/run.sh

test: ## everything: unit tests, sanitizers, whole runs of both executables under Wine, boots
	@scripts/test.sh

unit: ## the native unit tests alone, without the long loops over faults, power cuts and random worlds
	@scripts/setup.sh native
	@cmake --preset native >/dev/null && cmake --build --preset native
	@ctest --preset native -LE loops -j "$$(nproc)" >build/unit.log; \
	  failed=$$?; grep -v ' Passed \|^ *Start ' build/unit.log; exit $$failed

windows: ## the executables and the Windows check, to build/win64 and build/win32
	@scripts/setup.sh windows
	@cmake --preset win64 && cmake --build --preset win64
	@cmake --preset win32 && cmake --build --preset win32

rehearse: ## the program on a PC in memory, in the terminal; needs only a compiler
	@command -v g++ >/dev/null || command -v $(CXX) >/dev/null || scripts/setup.sh compiler
	@$(MAKE) --no-print-directory -j "$$(nproc)" -f scripts/rehearse.mk build/rehearse/rehearse
	@build/rehearse/rehearse

bench: ## timings of the logic, and of the executables under Wine
	@scripts/setup.sh native windows wine
	@cmake --preset bench >/dev/null && cmake --build --preset bench >/dev/null
	@build/bench/bench/rotate_bench
	@cmake --preset win64 >/dev/null && cmake --build --preset win64 --target all search_bench bare_window >/dev/null
	@cmake --preset win32 >/dev/null && cmake --build --preset win32 >/dev/null
	@python3 -B bench/wine_figures.py

fuzz: ## the fuzz harnesses for a minute each, every step of the fault loops, a million random worlds
	@scripts/setup.sh native tidy
	@scripts/fuzz.sh

pictures: ## screenshots of the window and each kind of box at 100, 150 and 200 %, to build/rig/pictures
	@scripts/setup.sh windows wine
	@cmake --preset win64 >/dev/null && cmake --build --preset win64 >/dev/null
	@python3 -B rig/pictures.py

dist: windows ## the zips of a release, to dist/
	@scripts/setup.sh dist
	@python3 -B scripts/dist.py

tidy: ## checks the order of includes, clang-format and clang-tidy
	@scripts/setup.sh native tidy
	@scripts/tidy.sh

format: ## clang-format over all sources
	@scripts/setup.sh format
	@git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format -i

clean: ## removes build/ and dist/
	@rm -rf --one-file-system build dist

help: ## this list
	@sed -n 's/^\([a-z]*\):.*## \(.*\)/  make \1\t\2/p' $(MAKEFILE_LIST) | expand -t 18
	@echo "One story under Wine: scripts/stories.sh x64 switch (or x86); see rig/README.md"
