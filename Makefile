# The commands of this project. Each installs with apt-get what it needs and is not there yet.

FLOW ?= two-step-sign-in
# One more than there are processors, for some tests wait most of their time.
CTEST_FLAGS ?= -j$(shell expr $$(nproc) + 1)
SHELL := /bin/bash
# A fresh clone in another folder finds what an earlier one compiled.
export CCACHE_BASEDIR ?= $(CURDIR)
export CCACHE_NOHASHDIR ?= true

.PHONY: help demo test bench format clean

help:
	@echo "make demo [FLOW=name]  run a flow against the sandbox, in a window or off screen"
	@echo "make test              build with the sanitizers and run every test"
	@echo "make bench             run the benchmarks"
	@echo "make format            format the sources"
	@echo "make clean             remove what was built"

demo:
	@scripts/demo.sh --check "$(FLOW)"
	@scripts/install-packages.sh $(if $(filter jumio-% onfido,$(FLOW)),web,demo)
	@cmake --preset demo --log-level=WARNING
	@cmake --build --preset demo
	@scripts/demo.sh build/demo "$(FLOW)"

test:
	@scripts/install-packages.sh test
	@cmake --preset dev --log-level=WARNING
	@cmake --build --preset dev
	@ctest --preset dev $(CTEST_FLAGS)

bench:
	@scripts/install-packages.sh bench
	@cmake --preset bench --log-level=WARNING
	@cmake --build --preset bench
	@scripts/bench.sh build/bench

format:
	@scripts/install-packages.sh format
	@scripts/format.sh

clean:
	rm -rf build demo-pictures
