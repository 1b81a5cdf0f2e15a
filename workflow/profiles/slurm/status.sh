#!/usr/bin/env bash
# Tells the workflow how a job of Slurm is: success, running or failed. Usage: status.sh JOB
#
# Asks the controller, which knows a job for some minutes after its end (MinJobAge), then the accounting database, where
# there is one. A job that neither knows has failed, for it is never heard of again; one that cannot be asked for is
# taken for running, and asked for again.
set -u
job=$1
for _ in 1 2 3; do
    if told=$(scontrol --oneliner show job "$job" 2>&1); then
        state=$(sed -n 's/.*JobState=\([A-Z_]*\).*/\1/p' <<<"$told" | head -n 1)
        break
    fi
    if [[ $told == *"Invalid job id"* ]]; then
        state=$(sacct --noheader --parsable2 --allocations --format=State --jobs="$job" 2>/dev/null | head -n 1)
        state=${state:-LOST}
        break
    fi
    sleep 2
done
case ${state:-UNREACHABLE} in
    COMPLETED) echo success ;;
    PENDING | RUNNING | CONFIGURING | COMPLETING | SUSPENDED | REQUEUED | REQUEUE_HOLD | RESIZING | SIGNALING | STAGE_OUT | STOPPED | UNREACHABLE)
        echo running
        ;;
    *) echo failed ;;
esac
