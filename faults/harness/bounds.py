"""How long each outcome may take, in seconds. Generous: machines that run this are loaded."""

FIRST_RUN = 150  # after the fault was lifted: four attempts, each with an outage of its own
SECOND_RUN = 100  # nothing is wrong any more; a volume that was given up may have to be mounted anew
EJECT = 45
LEFTOVERS = 20  # after the eject
SEED = 600  # everything, after which the seed itself is ended
