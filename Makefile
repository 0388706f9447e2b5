# The everyday commands. `make run` and `make test` need only a Debian 12 machine with make: they install
# missing packages.
SCENARIO ?= scenarios/two-units.scenario
RUN_FLAGS ?=
TEST_FLAGS ?=
BENCH_FLAGS ?=
COVERAGE_FLAGS ?=
FILES ?=
SECONDS ?= 60
TARGETS ?=

.DEFAULT_GOAL := help
.PHONY: help run test bench instructions mutants soak faults fuzz coverage library package api format lint update update-golden update-reference update-symbols update-recording update-abi update-bounds clean

help:
	@echo 'make run            build, then run a scenario on the simulated chip'
	@echo '                      SCENARIO=$(SCENARIO)  RUN_FLAGS=...'
	@echo 'make test           build and run all tests          TEST_FLAGS="-R <pattern>"'
	@echo 'make bench          build and run the benchmarks     BENCH_FLAGS="--benchmark_filter=<pattern>"'
	@echo 'make instructions   count the instructions of paths and jobs, and fail above the bounds in bench/instructions.txt'
	@echo 'make mutants FILES=routing/entries/UrpfEntries.cpp   break the library token by token and name the test that notices'
	@echo '                      N=20  SEED=1  SKIP=10  LINES=20-40  FUNCTION=<pattern>  KIND=<pattern>  SCENARIOS=1  LIST=1'
	@echo 'make soak           the random steps and frames, and the deaths of agents, in full number'
	@echo 'make faults         let every hardware call of every scenario fail in every way     SCENARIOS="urpf mpls ..."'
	@echo 'make fuzz           change scenarios, frames, captures and generic access at random    SECONDS=$(SECONDS)  TARGETS="Frame ..."'
	@echo 'make coverage       say how much of each room the tests run      COVERAGE_FLAGS="--list"'
	@echo 'make update         replace what is generated from the code: golden transcripts, reference pages, the list of'
	@echo '                      exported symbols, the example recording; by itself: update-golden, update-reference, ...'
	@echo 'make update-abi     write down the binary interface of a version (see Releases in CONTRIBUTING.md)'
	@echo 'make update-bounds  write down 5 % above the present instruction counts'
	@echo 'make library        build the library alone, for an agent: build/library'
	@echo 'make package        build the Debian packages'
	@echo 'make api            make the API pages: build/library/api/html/index.html'
	@echo 'make format         format all C++ files'
	@echo 'make lint           format, layering and clang-tidy checks'
	@echo 'make clean          remove the build directories'
	@echo 'The command is build/debug/bin/strata-l3; try it with --help.'

run:
	@sh ci/setup.sh build
	@sh ci/build.sh debug strata-l3-tool
	@build/debug/bin/strata-l3 run $(SCENARIO) $(RUN_FLAGS)

test:
	@sh ci/setup.sh test
	@sh ci/build.sh debug
	@sh ci/test.sh debug $(TEST_FLAGS)

bench:
	@sh ci/setup.sh bench
	@sh ci/build.sh release strata-l3-bench strata-l3-jobs
	@build/release/bin/strata-l3-bench $(BENCH_FLAGS)
	@build/release/bin/strata-l3-jobs

instructions update-bounds:
	@sh ci/setup.sh instructions
	@sh ci/build.sh candidate strata-l3-instructions
	@python3 bench/instructions.py build/package/bin/strata-l3-instructions $(if $(filter update-bounds,$@),--update)

mutants:
	@[ -n '$(FILES)' ] || { echo 'make mutants FILES="routing/entries/UrpfEntries.cpp ..."' >&2; exit 2; }
	@sh ci/setup.sh mutants
	@$(if $(LIST),,sh ci/build.sh debug $(if $(SCENARIOS),strata-l3-tool,strata-l3-tests))
	@$(if $(LIST),,sh ci/build.sh mutants-library strata-l3)
	@python3 ci/mutants.py $(FILES) $(if $(N),--number $(N)) $(if $(SEED),--seed $(SEED)) $(if $(SKIP),--skip $(SKIP)) \
	   $(if $(LINES),--lines $(LINES)) $(if $(FUNCTION),--function '$(FUNCTION)') \
	   $(if $(KIND),--kind '$(KIND)') $(if $(SCENARIOS),--scenarios) $(if $(LIST),--list)

soak:
	@sh ci/setup.sh test
	@sh ci/build.sh debug strata-l3-tests
	@STRATA_RANDOM_STEPS=10000 STRATA_DEATHS=1 STRATA_FRAMES=5000 sh ci/long.sh \
	   '*PathIndependence*' '*WhateverTheStepsBefore*' '*NeverDied*' '*PresentIsNotExcluded*'

faults:
	@sh ci/setup.sh test
	@sh ci/build.sh debug strata-l3-tests
	@STRATA_FAULTS=all sh ci/long.sh $(patsubst %,'*FaultGrid*/%',$(subst -,,$(or $(SCENARIOS),*)))

fuzz:
	@sh ci/setup.sh fuzz
	@sh ci/fuzz.sh $(SECONDS) $(TARGETS)

coverage:
	@sh ci/setup.sh coverage
	@sh ci/build.sh coverage
	@python3 ci/coverage.py $(COVERAGE_FLAGS)

update: update-golden update-reference update-symbols update-recording

update-golden:
	@sh ci/setup.sh build
	@sh ci/build.sh debug strata-l3-tool
	@sh ci/build.sh debug update-golden

update-reference:
	@sh ci/setup.sh build
	@sh ci/build.sh debug strata-l3-tool
	@sh ci/reference.sh build/debug/bin/strata-l3 --update

update-recording:
	@sh ci/setup.sh build
	@sh ci/build.sh debug strata-l3-tool
	@build/debug/bin/strata-l3 replay scenarios/recordings/tutorial.recording >/dev/null || \
	   build/debug/bin/strata-l3 record scenarios/recordings/tutorial.scenario \
	      -o scenarios/recordings/tutorial.recording >/dev/null

update-symbols:
	@sh ci/setup.sh build
	@sh ci/build.sh debug strata-l3
	@sh ci/symbols.sh build/debug/lib/libstrata-l3.so --update

update-abi:
	@sh ci/setup.sh ci
	@sh ci/abi.sh --update

package:
	@sh ci/setup.sh package
	@sh ci/build.sh package
	@sh ci/package.sh

library:
	@sh ci/setup.sh library
	@sh ci/build.sh library

api: library
	@sh ci/setup.sh package
	@sh ci/api.sh library

format:
	@sh ci/setup.sh ci
	@sh ci/format.sh

lint:
	@sh ci/setup.sh ci
	@sh ci/format.sh --check
	@sh ci/layering.sh
	@sh ci/tidy.sh

clean:
	rm -rf build
