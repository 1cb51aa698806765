# Made by tools/make-fleet-kit from deploy/src; a change belongs there.
